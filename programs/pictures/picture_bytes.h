// What every picture library leaves to do: names of formats and files that break off.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <opencv2/core/types.hpp>
#include <string>
#include <vector>

namespace brantel::programs {

/// ".png" for "a/B.PNG".
std::string extensionOf(const std::filesystem::path& path);

bool isOneOf(const std::string& extension, std::initializer_list<const char*> names);

/// True for a JPEG, PNG or PNM file whose end is missing.
bool breaksOff(const std::vector<std::uint8_t>& bytes);

/// "640 x 480".
std::string sizeText(cv::Size size);

}  // namespace brantel::programs
