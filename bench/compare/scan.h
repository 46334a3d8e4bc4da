// A camera scan with known truth, cut from one picture.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace brantel::bench {

struct ScanSetup {
    std::int32_t rows = 960;
    std::int32_t cols = 1280;
    std::int32_t channels = 3;
    std::int32_t frames = 25;
    double overlap = 0.3;
    double noise = 2.0;   // sigma of the camera noise
    std::string picture;  // empty: a generated one
};

struct Scan {
    ScanSetup setup;
    std::string source;            // where the picture came from and how much it was enlarged
    std::vector<cv::Mat> frames;   // packed, 8 bits
    std::vector<cv::Point> spots;  // top-left pixel of each frame in the picture

    cv::Size frameSize() const { return {setup.cols, setup.rows}; }
    cv::Point step(std::size_t i) const { return spots[i] - spots[i - 1]; }
    /// The rectangle of all frames.
    cv::Rect extent() const;
};

/// Lines of equal length, alternately right and left, one step down between them. A picture that is too small
/// for that is enlarged (bicubic). Throws when it cannot be read.
Scan makeScan(const ScanSetup& setup);

/// A few windows of the same picture at the given spots, with fresh noise.
std::vector<cv::Mat> framesAt(const ScanSetup& setup, const std::vector<cv::Point>& spots);

}  // namespace brantel::bench
