// What is written to a folder, read back.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <opencv2/core/mat.hpp>
#include <string>

namespace brantel::test {

/// All that is in a folder, hidden files as well: contents by relative name. Folders end with a slash.
std::map<std::string, std::string> contentsOf(const std::filesystem::path& folder);

/// A picture as libvips reads it, red before green before blue; an empty one if it does not.
/// @param page  of a TIFF file
cv::Mat readPicture(const std::filesystem::path& file, std::int32_t page = 0);
/// Its resolution in pixels per millimetre.
double resolutionOf(const std::filesystem::path& file);

/// The largest level of a Deep Zoom picture put together from its tiles.
/// @param suffix  of the tiles
cv::Mat readDeepZoom(const std::filesystem::path& tiles, cv::Size size, const std::string& suffix);

bool sameBytes(const cv::Mat& one, const cv::Mat& other);
double meanDifference(const cv::Mat& one, const cv::Mat& other);

/// Attributes of a well-formed document as "element/attribute"; empty when it is not well-formed.
std::map<std::string, std::string> attributesOf(const std::string& xml);

}  // namespace brantel::test
