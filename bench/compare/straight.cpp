#include "compare/straight.h"

#include <sys/mman.h>

#include <cstring>
#include <new>
#include <stdexcept>

#include "compare/library.h"

namespace brantel::bench {

namespace {

constexpr int period = 5;  // steps after which the picture repeats itself

/// A camera over a picture without end: a torus.
class Torus {
  public:
    Torus(const ScanSetup& setup, cv::Point step) : setup_(setup) {
        ScanSetup whole = setup;
        whole.cols = period * step.x;
        whole.rows = period * step.y;
        picture_ = framesAt(whole, {{0, 0}}).front();
    }

    cv::Mat frameAt(cv::Point at) const {
        cv::Mat frame(setup_.rows, setup_.cols, picture_.type());
        const std::size_t pixel = picture_.elemSize();
        for (int r = 0; r < frame.rows; ++r) {
            const uchar* row = picture_.ptr(wrapped(at.y + r, picture_.rows));
            for (int c = 0; c < frame.cols; ++c)
                std::memcpy(frame.ptr(r, c),
                            row + static_cast<std::size_t>(wrapped(at.x + c, picture_.cols)) * pixel, pixel);
        }
        return frame;
    }

  private:
    static int wrapped(int value, int length) { return (value % length + length) % length; }

    ScanSetup setup_;
    cv::Mat picture_;
};

/// Diagonal steps are shorter, so that frames overlap enough.
cv::Point stepOf(const ScanSetup& setup, const Course& course) {
    const double part = course.x != 0 && course.y != 0 ? 0.4 : 0.6;
    return {cvRound(setup.cols * part / 2) * 2, cvRound(setup.rows * part / 2) * 2};
}

/// Lines of five steps across, one down, within six lines; then all over again.
cv::Point insideStep(int i, cv::Point step) {
    constexpr int across = 5;
    constexpr int lines = 4;
    const int place = (i - 1) % (across + 1);
    const int line = (i - 1) / (across + 1);
    if (place == across) return {0, line / lines % 2 == 0 ? step.y : -step.y};
    return {line % 2 == 0 ? step.x : -step.x, 0};
}

}  // namespace

std::vector<Course> courses() {
    return {{"inside", 0, 0}, {"right", 1, 0},          {"left", -1, 0},        {"down", 0, 1},
            {"up", 0, -1},    {"right and down", 1, 1}, {"left and up", -1, -1}};
}

Outcome runCourse(const ScanSetup& setup, const std::string& library, const Course& course, int frames) {
    const cv::Point step = stepOf(setup, course);
    const Torus torus(setup, step);
    Library host(library, setup, 0);
    Outcome outcome;
    cv::Point at;
    cv::Mat first = torus.frameAt(at);
    for (int i = 1; i < frames; ++i) {
        at += course.inside() ? insideStep(i, step) : cv::Point(step.x * course.x, step.y * course.y);
        const cv::Mat frame = torus.frameAt(at);
        const Stopwatch watch;
        host.stitch(i == 1 ? &first : nullptr, frame);
        if (i > 1) watch.addFrame(outcome);
        if (host.lastResult() < 0) throw std::runtime_error("a frame was not registered");
    }
    return outcome;
}

Outcome touchFreshPages(double mebibytes) {
    constexpr std::size_t page = 4096;
    const std::size_t bytes = static_cast<std::size_t>(mebibytes) << 20U;
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    madvise(memory, bytes, MADV_NOHUGEPAGE);
    Outcome outcome;
    const Stopwatch watch;
    for (std::size_t at = 0; at < bytes; at += page) static_cast<volatile char*>(memory)[at] = 1;
    watch.endScan(outcome);
    munmap(memory, bytes);
    return outcome;
}

}  // namespace brantel::bench
