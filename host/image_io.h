// Pictures in and out of files, and the little drawing that the overview needs.
//
// The only place that knows the picture library, so that another one can take its place.
#pragma once

#include <cstdint>
#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

namespace host {

enum class Channels { asStored, grey, colour };

/// True for the names of pictures that can be read (".png", ".JPG", ...).
bool isPictureName(const std::filesystem::path& path);

/// True for the names of pictures that can be written; extensions for help texts.
bool isOutputName(const std::filesystem::path& path);
extern const char* const outputNames;

/// The picture in a file's bytes, as CV_8UC1 or CV_8UC3 (blue, green, red); empty when they are no picture or
/// not all of one.
cv::Mat decodePicture(const std::vector<std::uint8_t>& bytes, Channels channels);

/// Reads a picture file; empty when that is not possible.
cv::Mat readPicture(const std::filesystem::path& path, Channels channels);

/// Writes a picture in the format that the name asks for. Throws OutputError.
void writePicture(const std::filesystem::path& path, const cv::Mat& picture);

/// A copy in colour, reduced to the given size by averaging.
cv::Mat reducedColour(const cv::Mat& picture, cv::Size size);

/// Colours are blue, green, red.
void drawLine(cv::Mat& picture, cv::Point from, cv::Point to, const cv::Scalar& colour,
              std::int32_t thickness);
void drawDisc(cv::Mat& picture, cv::Point centre, std::int32_t radius, const cv::Scalar& colour);

}  // namespace host
