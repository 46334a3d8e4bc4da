// TIFF files row by row: no format holds larger pictures, and nothing beside the picture is needed in memory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <opencv2/core/mat.hpp>

namespace brantel::programs {

/// A picture of 8 bits that is made while it is written.
struct PictureInBands {
    cv::Size size;
    std::int32_t channels = 1;                                         ///< 1 or 3
    std::function<cv::Mat(std::int32_t row, std::int32_t rows)> band;  ///< all columns of these rows
};

/// Writes a picture, uncompressed; as BigTIFF where a plain TIFF, which counts bytes with 32 bits, does not suffice.
/// Throws OutputError, and whatever the bands throw.
void writeTiff(const std::filesystem::path& path, const PictureInBands& picture);

/// The same for a picture of 8 bits with 1 or 3 channels.
void writeTiff(const std::filesystem::path& path, const cv::Mat& picture);

}  // namespace brantel::programs
