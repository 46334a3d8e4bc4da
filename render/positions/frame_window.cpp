#include "positions/frame_window.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace brantel::render {

namespace {

FrameExtract extractOf(FrameReader& reader, std::size_t frame, cv::Size size) {
    FrameExtract extract;
    const cv::Mat samples = reader.read(frame);
    if (samples.empty() || samples.size() != size) return extract;
    extract.grey = reader.grey(frame, samples);
    extract.light = lightPictureOf(samples);
    extract.white = samples.depth() == CV_8U ? 255 : 65535;
    return extract;
}

}  // namespace

FrameWindow::FrameWindow(FrameReader& reader, cv::Size frame, std::vector<std::size_t> order)
    : reader_(reader), size_(frame), order_(std::move(order)) {
    readAhead();
}

void FrameWindow::readAhead() {
    const std::size_t most = std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
    for (; begun_ < order_.size() && ahead_.size() < most; ++begun_)
        ahead_.push_back(std::async(
            std::launch::async, [this, frame = order_[begun_]] { return extractOf(reader_, frame, size_); }));
}

FrameExtract& FrameWindow::take() {
    std::future<FrameExtract> reading = std::move(ahead_.front());
    ahead_.pop_front();
    FrameExtract extract = reading.get();
    readAhead();
    return kept_[order_[taken_++]] = std::move(extract);
}

}  // namespace brantel::render
