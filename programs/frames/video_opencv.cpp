#include <cmath>
#include <cstdlib>
#include <opencv2/videoio.hpp>

#include "frames/live_frames.h"
#include "frames/source.h"
#include "frames/video.h"
#include "pictures/image_io.h"
#include "pictures/kinds.h"
#include "system/files.h"
#include "system/out_of_memory.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr int openWithin = 10000;  // milliseconds
constexpr int readWithin = 5000;
constexpr double mostlyThere = 0.9;  // containers only estimate how many frames they hold

std::size_t framesIn(const cv::VideoCapture& capture) {
    const double frames = std::floor(capture.get(cv::CAP_PROP_FRAME_COUNT));
    return frames > 0 && frames < 1e9 ? static_cast<std::size_t>(frames) : 0;
}

/// A buffer of its own: the decoder reuses the one it hands out. Empty at the end.
cv::Mat nextImage(cv::VideoCapture& capture) {
    cv::Mat image;
    try {
        if (!capture.read(image)) return {};
        return image.channels() == 1 || image.channels() == 3 ? image.clone() : cv::Mat();
    } catch (const cv::Exception& error) {
        if (isOutOfMemory(error)) throw std::bad_alloc();
        return {};
    }
}

class Video : public FrameSource {
  public:
    Video(const cv::VideoCapture& capture, std::string name)
        : capture_(capture), name_(std::move(name)), count_(framesIn(capture)) {
        if (isAddress(name_)) return;
        std::error_code error;
        origin_.path = fs::absolute(fs::u8path(name_), error).lexically_normal().u8string();
        if (const std::optional<FileFacts> facts = factsOf(fs::u8path(name_))) {
            origin_.bytes = facts->bytes;
            origin_.modified = facts->modified;
        }
    }

    bool next(Frame& frame) override {
        frame = {};
        frame.image = nextImage(capture_);
        if (frame.image.empty()) {
            ended_ = true;
            return false;
        }
        frame.index = at_++;
        frame.name = name_ + "#" + std::to_string(at_);
        frame.origin = origin_;
        frame.origin.page = at_;
        return true;
    }

    std::size_t count() const override { return count_; }

    std::string remark() const override {
        if (!ended_ || static_cast<double>(at_) >= mostlyThere * static_cast<double>(count_)) return "";
        return name_ + " says that it has " + std::to_string(count_) + " frames, but only " +
               std::to_string(at_) + " can be read; it is damaged or cut off";
    }

  private:
    cv::VideoCapture capture_;
    std::string name_;
    Origin origin_;
    std::size_t count_;
    std::size_t at_ = 0;
    bool ended_ = false;
};

cv::VideoCapture openAddress(const std::string& address) {
    // FFmpeg alone: the other readers that OpenCV would try take names for devices or pipelines.
    const std::vector<int> waits{cv::CAP_PROP_OPEN_TIMEOUT_MSEC, openWithin, cv::CAP_PROP_READ_TIMEOUT_MSEC,
                                 readWithin};
    return cv::VideoCapture(address, cv::CAP_FFMPEG, waits);
}

/// What FFmpeg would write to standard error about damaged frames is told here where it matters. Must come
/// before anything is opened.
void silenceDecoder() {
    setenv("OPENCV_FFMPEG_LOGLEVEL", "-8", 0);
}

}  // namespace

const char* const videoInputs = ", one video file, a camera (/dev/video0) or an address (rtsp://...)";

std::unique_ptr<FrameSource> openVideo(const std::string& file) {
    silenceDecoder();
    const cv::VideoCapture capture(file, cv::CAP_FFMPEG);
    if (capture.isOpened()) return std::make_unique<Video>(capture, file);
    const std::string kind = kindOf(fs::u8path(file));
    if (kind == "empty") throw InputError(file + " is empty");
    throw InputError(file + " is " + (kind.empty() ? "of a kind that is not known" : kind) +
                     ", and neither a picture that is read (" + readableKinds +
                     ") nor a video that can be opened");
}

std::unique_ptr<FrameSource> openCamera(const std::string& input) {
    silenceDecoder();
    const bool address = isAddress(input);
    cv::VideoCapture capture = address ? openAddress(input) : cv::VideoCapture(input, cv::CAP_V4L2);
    const std::string name = withoutPassword(input);
    if (!capture.isOpened())
        throw InputError(name +
                         (address ? " cannot be opened: nothing answers there, or it is no video stream; try "
                                    "the address in a video player"
                                  : " is a device, but no camera that can be opened; see whether another "
                                    "program uses it"));
    if (address && framesIn(capture) > 0) return std::make_unique<Video>(capture, name);
    return std::make_unique<LiveFrames>(name, [capture]() mutable { return nextImage(capture); });
}

}  // namespace brantel::programs
