// What overlaps say about the light: how much brighter the same place is in one frame than in the other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <vector>

namespace brantel::render {

/// A frame reduced to means of blocks, smoothed: CV_32FC1 or CV_32FC3.
struct LightPicture {
    cv::Mat means;
    std::int32_t block = 1;  ///< pixels of the frame along a side of a mean
    cv::Size frame;
};

LightPicture lightPictureOf(const cv::Mat& samples);

/// A place in a frame, from -1 (left, top) to 1 (right, bottom).
struct FramePoint {
    float x;
    float y;
};

/// The same place seen in two frames.
struct LightCell {
    std::size_t first;
    std::size_t second;
    FramePoint inFirst;
    FramePoint inSecond;
    std::array<float, 3>
        ratio;  ///< logarithm of the first one's brightness over the second one's, for each channel
};

/// Cells spread evenly over the overlap; those that are nearly black or nearly white are left out.
/// @param offset  of the second frame's top-left pixel from the first one's
/// @param white   the brightest sample that there can be
/// @param most    about so many cells at most
void addCells(std::size_t first, const LightPicture& inFirst, std::size_t second,
              const LightPicture& inSecond, const cv::Point2d& offset, double white, std::size_t most,
              std::vector<LightCell>& cells);

/// The logarithm of a frame's brightness in a coarse grid, against its mean; for the mean of many frames.
struct LightGrid {
    static constexpr std::int32_t rows = 12;
    static constexpr std::int32_t cols = 16;

    static std::size_t valuesOf(int channels) {
        return std::size_t{rows} * cols * static_cast<std::size_t>(channels);
    }

    std::vector<float> values;  ///< rows x cols x channels; not a number where it is too dark or too bright

    static FramePoint pointOf(std::int32_t row, std::int32_t col) {
        return {(2 * static_cast<float>(col) + 1) / cols - 1, (2 * static_cast<float>(row) + 1) / rows - 1};
    }
};

LightGrid lightGridOf(const LightPicture& picture, double white);

}  // namespace brantel::render
