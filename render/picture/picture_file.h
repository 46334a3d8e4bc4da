// Pictures of any size written in bands, by libvips.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "cancel.h"
#include "picture/bands.h"

namespace brantel::render {

enum class Format { tiff, omeTiff, deepZoom, png, jpeg };

/// By the name's end: .tif .tiff, .ome.tif .ome.tiff, .dzi, .png, .jpg .jpeg in any case.
std::optional<Format> formatOf(const std::filesystem::path& file);
extern const char* const formatNames;  ///< for messages

struct PictureFile {
    std::filesystem::path path;
    Format format = Format::tiff;
    double pixelSize = 0;  ///< micrometres; 0: not known
    int quality = 90;      ///< of JPEG, in files and in tiles
};

/// What the format cannot do with a picture of this size, for instance "JPEG pictures end at 65500 pixels a side, and this
/// one is 70000 x 20"; nothing if it can be written.
std::optional<std::string> formatProblem(Format format, cv::Size size, std::int32_t type);

/// The files and folders that writing replaces: for a Deep Zoom picture the .dzi and its folder of tiles.
std::vector<std::filesystem::path> filesOf(const PictureFile& file);

/// Writes the picture. It appears completely or not at all: it is made under temporary names beside its place. Throws
/// std::runtime_error with the reason, Cancelled, and what reading frames throws. Progress counts pixels and is
/// called by the caller's thread. One picture at a time: the environment and libvips' settings are changed meanwhile.
void writePicture(const PictureFile& file, const PictureParts& parts, const Progress& progress);

}  // namespace brantel::render
