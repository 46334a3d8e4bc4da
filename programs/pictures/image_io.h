// Pictures in and out of files, and the little drawing that the overview needs.
//
// The only place that knows the picture library, so that another one can take its place.
#pragma once

#include <cstdint>
#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>
#include <vector>

#include "pictures/channels.h"

namespace brantel::programs {

/// True for the names of pictures that can be read (".png", ".JPG", ...); the kinds for messages.
bool isPictureName(const std::filesystem::path& path);
extern const char* const readableKinds;

/// True for the names of pictures that can be written; extensions for help texts.
bool isOutputName(const std::filesystem::path& path);
extern const char* const outputNames;

/// The picture in a file's bytes with its samples as they are stored, 1 or 3 channels; empty when they are no
/// picture or not all of one. Throws std::bad_alloc.
cv::Mat decodePicture(const std::vector<std::uint8_t>& bytes, Channels channels);

/// Reads the first picture of a file as 8 bits, samples of more bits over the range of their own values; empty
/// when that is not possible.
cv::Mat readPicture(const std::filesystem::path& path, Channels channels);

/// What the format of the name cannot do with a picture of this size; nothing if it can be written.
std::optional<std::string> sizeProblem(const std::filesystem::path& path, cv::Size size);

/// Writes a picture in the format that the name asks for. Throws OutputError, and std::bad_alloc before
/// anything is written.
void writePicture(const std::filesystem::path& path, const cv::Mat& picture);

/// Writes a picture as PNG with little effort for its size.
void writeQuickly(const std::filesystem::path& path, const cv::Mat& picture);

/// A copy in colour, reduced to the given size by averaging.
cv::Mat reducedColour(const cv::Mat& picture, cv::Size size);

/// Colours are blue, green, red.
void drawLine(cv::Mat& picture, cv::Point from, cv::Point to, const cv::Scalar& colour,
              std::int32_t thickness);
void drawDisc(cv::Mat& picture, cv::Point centre, std::int32_t radius, const cv::Scalar& colour);

}  // namespace brantel::programs
