// Scans with frames in memory at known places, and the picture they make worked out pixel by pixel.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <opencv2/core/mat.hpp>
#include <vector>

#include "picture/bands.h"
#include "support/picture.h"

namespace brantel::test {

/// Hands out copies, as a reader of files would.
class FramesInMemory : public render::FrameReader {
  public:
    cv::Mat read(std::size_t frame) override;
    cv::Mat grey(std::size_t frame, const cv::Mat& samples) const override;

    std::vector<cv::Mat> frames;
    std::vector<std::int32_t> reads;          ///< of each frame
    std::function<void(std::size_t)> before;  ///< called before a frame is read, from the reading threads
  private:
    std::mutex mutex_;
};

struct ScanSettings {
    cv::Size frameSize{37, 29};
    std::int32_t type = CV_8UC3;
    std::int32_t columns = 3;  ///< frames side by side
    std::int32_t rows = 3;
    cv::Point step{25, 20};
    std::int32_t jitter = 4;  ///< pixels by which frames are off the grid
    bool gains = false;
    std::int32_t lightChannels = 0;  ///< 0: even light
    std::int32_t lightStep = 1;      ///< pixels from one factor to the next
    std::uint64_t seed = 1;
};

/// Frames of random samples, in the order of taking row by row, numbered in reverse.
struct PlacedScan {
    explicit PlacedScan(const ScanSettings& settings);

    render::PictureParts parts(render::Blend blend = render::Blend::feather) {
        return {layout, light, frames, blend};
    }

    render::Layout layout;
    render::FlatField light;
    FramesInMemory frames;
};

/// The whole picture by its definition, red before green before blue.
cv::Mat pictureByDefinition(PlacedScan& scan, render::Blend blend);

}  // namespace brantel::test
