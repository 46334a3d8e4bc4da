#include "compare/special.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "common/worker_pair.h"
#include "compare/library.h"
#include "compose/canvas.h"
#include "silent_log.h"

namespace brantel::bench {

namespace {

/// Length of one step with the scan's overlap, even.
cv::Point stepOf(const ScanSetup& setup) {
    return {cvRound(setup.cols * (1.0 - setup.overlap) / 2) * 2,
            cvRound(setup.rows * (1.0 - setup.overlap) / 2) * 2};
}

/// Both clocks, as two series.
void addTo(Outcome& outcome, const std::string& series, const Stopwatch& watch) {
    outcome.stages[series].push_back(watch.ms());
    outcome.stages[series + cpuSeries].push_back(watch.cpuMs());
}

void require(bool held, const char* what) {
    if (!held) throw std::runtime_error(what);
}

bool samePlace(const StitchFlags& a, const StitchFlags& b) {
    return a.frameX == b.frameX && a.frameY == b.frameY;
}

}  // namespace

Outcome runUnchanged(const ScanSetup& setup, const std::string& library) {
    const cv::Point step = stepOf(setup);
    const cv::Point slight(setup.cols / 40 * 2, setup.rows / 40 * 2);
    std::vector<cv::Point> spots{{0, 0}};
    for (int i = 0; i < 9; ++i) {
        const cv::Point corners[4] = {{step.x, 0}, step, {0, step.y}, {0, 0}};
        for (const cv::Point& more : {cv::Point(0, 0), slight, slight * 3 / 4})
            spots.push_back(corners[i % 4] + more);
    }
    const std::vector<cv::Mat> frames = framesAt(setup, spots);
    Library host(library, setup, 0);
    Outcome outcome;
    const char* const kinds[3] = {"merged", "not merged, new template", "not merged, same template"};
    StitchFlags before{};
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const Stopwatch watch;
        const StitchFlags now = host.stitch(i == 1 ? &frames[0] : nullptr, frames[i]);
        const std::size_t kind = (i - 1) % 3;
        if (i > 3) addTo(outcome, kinds[kind], watch);  // the first three have a new canvas
        require(host.lastResult() == 0, "a frame was not registered");
        require(samePlace(before, now) == (kind != 0), "a frame was merged that should not be, or was not");
        before = now;
    }
    return outcome;
}

Outcome runLong(const ScanSetup& setup, const std::string& library, int calls) {
    const cv::Point step = stepOf(setup);
    std::vector<cv::Point> spots;
    for (int lap = 0; lap < 3; ++lap)
        for (const cv::Point& corner : {cv::Point(0, 0), cv::Point(step.x, 0), step, cv::Point(0, step.y)})
            spots.push_back(corner);
    const std::vector<cv::Mat> frames = framesAt(setup, spots);
    Library host(library, setup, 0);
    Outcome outcome;
    const int part = std::min(50, calls / 3);
    StitchFlags before{};
    for (int i = 1; i <= calls; ++i) {
        const cv::Mat& frame = frames[static_cast<std::size_t>(i) % frames.size()];
        const Stopwatch watch;
        const StitchFlags now = host.stitch(i == 1 ? &frames[0] : nullptr, frame);
        if (i >= 5 && i < 5 + part) addTo(outcome, "early", watch);
        if (i > calls - part) addTo(outcome, "late", watch);
        require(host.lastResult() == 0 && !samePlace(before, now), "a frame was not merged");
        before = now;
    }
    return outcome;
}

Outcome runGrowth() {
    WorkerPair workers(silent());
    require(workers.start(), "no worker threads");
    constexpr int rows = 18000;
    constexpr int cols = 19000;
    constexpr int frameRows = 960;
    constexpr int frameCols = 1280;
    const Placement placement{{cols - frameCols - 8, rows / 2}, {3000, 3000}, {cols - 8, 15000}};
    const cv::Rect occupied(cv::Point(placement.minimum.x, placement.minimum.y),
                            cv::Point(placement.maximum.x, placement.maximum.y));
    // zero pages that nobody has touched, as a mosaic's canvas has them
    const std::unique_ptr<void, decltype(&std::free)> pages(std::calloc(std::size_t{rows} * cols, 3),
                                                            &std::free);
    cv::Mat canvas(rows, cols, CV_8UC3, pages.get());
    canvas(occupied).setTo(cv::Scalar::all(77));
    const std::size_t line = static_cast<std::size_t>(occupied.width) * 3;
    const auto copyTo = [&](std::uint8_t* to) {
        for (int r = 0; r < occupied.height; ++r)
            std::memcpy(to + static_cast<std::size_t>(r) * line,
                        canvas.ptr(occupied.y + r) + static_cast<std::size_t>(occupied.x) * 3, line);
    };
    Outcome outcome;
    for (int round = 0; round < 3; ++round) {
        {
            Placement moved = placement;
            PaintedRows painted(rows);
            painted.add({occupied.y, occupied.br().y, occupied.x, occupied.br().x});
            const Stopwatch watch;
            const cv::Mat grown = growCanvasForFrame(canvas, frameRows, frameCols, {200, 0}, frameRows,
                                                     frameCols, &moved, &painted, &workers);
            addTo(outcome, "growth", watch);
            require(grown.cols == cols + frameCols && grown.at<cv::Vec3b>(3000, 3000)[0] == 77,
                    "the canvas did not grow as it should");
        }
        const std::unique_ptr<void, decltype(&std::free)> room(std::malloc(line * occupied.height),
                                                               &std::free);
        const Stopwatch fresh;
        copyTo(static_cast<std::uint8_t*>(room.get()));
        addTo(outcome, "copy into fresh memory", fresh);
        const Stopwatch again;
        copyTo(static_cast<std::uint8_t*>(room.get()));
        addTo(outcome, "copy into touched memory", again);
    }
    return outcome;
}

Outcome runPaced(const ScanSetup& setup, const std::string& library, int pause) {
    constexpr int calls = 60;
    const cv::Point step = stepOf(setup);
    const std::vector<cv::Mat> frames =
        framesAt(setup, {{0, 0}, {step.x, 0}, step, {0, step.y}, {0, 0}, {step.x, 0}, step, {0, step.y}});
    std::vector<std::uint8_t> memory(std::size_t{64} << 20, 1);
    const auto sleep = [&] { std::this_thread::sleep_for(std::chrono::milliseconds(pause)); };
    std::uint64_t sum = 0;
    const auto read = [&] { sum += std::accumulate(memory.begin(), memory.end(), std::uint64_t{0}); };
    const std::pair<const char*, std::function<void()>> hosts[] = {
        {"back to back", [] {}}, {"the host asleep", sleep}, {"the host reading 64 MB", read}};
    Outcome outcome;
    for (const auto& [name, pass] : hosts) {
        Library host(library, setup, 0);
        for (int i = 1; i <= calls; ++i) {
            pass();
            const Stopwatch watch;
            host.stitch(i == 1 ? &frames[0] : nullptr, frames[static_cast<std::size_t>(i) % frames.size()]);
            if (i > 8) addTo(outcome, name, watch);  // the first lap has a new canvas
            require(host.lastResult() == 0, "a frame was not registered");
        }
    }
    require(sum % 2 == 0, "the host did not read");
    return outcome;
}

Outcome runHandOff() {
    WorkerPair workers(silent());
    require(workers.start(), "no worker threads");
    auto nothing = [] {};
    Outcome outcome;
    for (int i = 0; i < 5000; ++i) {
        const Stopwatch watch;
        require(workers.runBoth(Job::of(nothing), Job::of(nothing)), "the workers refused");
        addTo(outcome, "hand-off", watch);
    }
    return outcome;
}

}  // namespace brantel::bench
