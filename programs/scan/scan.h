// Cuts a camera scan out of a large picture: what a stage microscope would deliver, with the truth known.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

namespace brantel::programs {

enum class ScanPath {
    serpentine,  ///< rows to and fro, top to bottom
    row,         ///< one row through the middle, left to right
    walk         ///< steps in random directions
};

struct ScanSettings {
    ScanPath path = ScanPath::serpentine;
    cv::Size frame{640, 480};
    cv::Size step{0, 0};      ///< pixels between frames; 0: from overlap, rounded to even
    double overlap = 0.4;     ///< part of the frame that neighbours share
    std::int32_t jitter = 0;  ///< every position is off by up to this many pixels, both ways
    std::size_t frames = 0;   ///< at most so many; 0: the whole picture (a walk: 40)
    double noise = 0;         ///< standard deviation, grey levels
    double drift = 0;         ///< brightness change from the first to the last frame, 0.1 = 10 % brighter
    double vignetting = 0;    ///< loss of brightness in the frame's corners, 0.1 = 10 %
    std::uint32_t seed = 1;
};

/// Top-left corners of the frames in the picture. Throws InputError when the frame does not fit.
std::vector<cv::Point> planScan(cv::Size picture, const ScanSettings& settings);

/// The k-th frame of a plan. Frames are independent of each other: any may be cut first.
cv::Mat cutFrame(const cv::Mat& picture, const ScanSettings& settings, const std::vector<cv::Point>& plan,
                 std::size_t k);

/// "frame_0001.png" for k = 0.
std::string scanFrameName(std::size_t k);

/// The truth as a table: file, x, y (top-left corner in the picture), dx, dy (against the frame before).
std::string truthTable(const std::vector<cv::Point>& plan);

}  // namespace brantel::programs
