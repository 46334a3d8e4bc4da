// The calls that make libvips write each format.
#pragma once

#include <vips/vips.h>

#include <filesystem>
#include <string>
#include <vector>

#include "picture/picture_file.h"

namespace brantel::render {

/// What saveImage() calls the files it makes, in the order of filesOf().
std::vector<std::string> savedNames(Format format);

/// Writes the image into the folder. False when libvips fails.
bool saveImage(const PictureFile& file, VipsImage* image, const std::filesystem::path& folder);

}  // namespace brantel::render
