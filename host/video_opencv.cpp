#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include "source.h"

namespace host {

namespace {

class Video : public FrameSource {
  public:
    Video(const cv::VideoCapture& capture, std::string name, Channels channels)
        : capture_(capture), name_(std::move(name)), channels_(channels) {}

    bool next(Frame& frame) override {
        cv::Mat image;
        if (!capture_.read(image)) return false;
        if (channels_ == Channels::grey && image.channels() == 3)
            cv::cvtColor(image, image, cv::COLOR_BGR2GRAY);
        // A buffer of its own: the decoder reuses the one it handed out.
        frame = {at_, name_ + "#" + std::to_string(at_ + 1), image.clone()};
        ++at_;
        return true;
    }

    std::size_t count() const override {
        const double frames = std::floor(capture_.get(cv::CAP_PROP_FRAME_COUNT));
        return frames > 0 && frames < 1e9 ? static_cast<std::size_t>(frames) : 0;
    }

  private:
    cv::VideoCapture capture_;
    std::string name_;
    Channels channels_;
    std::size_t at_ = 0;
};

}  // namespace

std::unique_ptr<FrameSource> openVideo(const std::filesystem::path& path, Channels channels) {
    // FFmpeg alone: the other readers that OpenCV would try take file names for devices or pipelines.
    const cv::VideoCapture capture(path.u8string(), cv::CAP_FFMPEG);
    if (!capture.isOpened()) return nullptr;
    return std::make_unique<Video>(capture, path.u8string(), channels);
}

}  // namespace host
