// TIFF files row by row: no format holds larger pictures, and nothing beside the picture is needed in memory.
#pragma once

#include <filesystem>
#include <opencv2/core/mat.hpp>

namespace brantel::programs {

/// Writes a picture of 8 bits with 1 or 3 channels, uncompressed; as BigTIFF where a plain TIFF, which counts
/// bytes with 32 bits, does not suffice. Throws OutputError.
void writeTiff(const std::filesystem::path& path, const cv::Mat& picture);

}  // namespace brantel::programs
