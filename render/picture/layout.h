// Where the frames of a picture lie in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core/types.hpp>
#include <vector>

namespace brantel::render {

struct PlacedFrame {
    std::size_t frame;  ///< its number
    cv::Point at;       ///< of its top-left pixel in the picture
    float gain = 1;     ///< by which its samples are multiplied
};

struct Layout {
    cv::Size size;  ///< of the picture: all frames lie within
    cv::Size frameSize;
    std::int32_t type = 0;            ///< of the samples: CV_8UC1, CV_8UC3, CV_16UC1 or CV_16UC3
    std::vector<PlacedFrame> frames;  ///< in the order of taking
};

/// Frames at rounded positions (halves up), moved so that the picture begins at (0, 0).
/// @param places  of the frames with these numbers, in pixels
/// @param origin  becomes the picture's top-left pixel in the coordinates of the places
Layout layOut(const std::vector<std::size_t>& frames, const std::vector<cv::Point2d>& places,
              cv::Size frameSize, std::int32_t type, cv::Point& origin);

}  // namespace brantel::render
