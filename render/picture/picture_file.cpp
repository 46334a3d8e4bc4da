#include "picture/picture_file.h"

#include <vips/vips.h>

#include <algorithm>
#include <cctype>
#include <limits>
#include <stdexcept>

#include "picture/replacement.h"
#include "picture/save.h"
#include "picture/vips_image.h"

namespace brantel::render {

namespace fs = std::filesystem;

namespace {

/// For decoded frames. What libvips needs besides grows with the picture's width.
constexpr std::int64_t frameMemory = 192 << 20;

struct Ending {
    const char* text;
    Format format;
};

constexpr Ending endings[] = {{".ome.tif", Format::omeTiff}, {".ome.tiff", Format::omeTiff},
                              {".tif", Format::tiff},        {".tiff", Format::tiff},
                              {".dzi", Format::deepZoom},    {".png", Format::png},
                              {".jpg", Format::jpeg},        {".jpeg", Format::jpeg}};

/// The largest side of a picture in this format.
std::int32_t longestSide(Format format) {
    if (format == Format::jpeg) return 65500;
    if (format == Format::png) return 1000000;  // what libpng, and so nearly everything, is ready to read
    return VIPS_MAX_COORD - 1;
}

const char* nameOf(Format format) {
    switch (format) {
        case Format::deepZoom:
            return "Deep Zoom";
        case Format::png:
            return "PNG";
        case Format::jpeg:
            return "JPEG";
        default:
            return "TIFF";
    }
}

fs::path tilesOf(fs::path file) {
    return file.replace_extension().concat("_files");
}

/// Micrometres; 0 if it is not known or too fine for what the format keeps.
double writablePixelSize(const PictureFile& file) {
    constexpr double mostInJpeg = 65535;  // pixels in a centimetre
    return file.format == Format::jpeg && file.pixelSize * mostInJpeg < 10000 ? 0 : file.pixelSize;
}

}  // namespace

const char* const formatNames = ".tif, .ome.tif, .dzi, .png, .jpg";

std::optional<Format> formatOf(const fs::path& file) {
    std::string name = file.filename().string();
    for (char& character : name)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    for (const Ending& ending : endings) {
        const std::string text = ending.text;
        if (name.size() > text.size() && name.compare(name.size() - text.size(), text.size(), text) == 0)
            return ending.format;
    }
    return std::nullopt;
}

std::optional<std::string> formatProblem(Format format, cv::Size size, std::int32_t type) {
    if (size.width < 1 || size.height < 1) return "the picture has no pixels";
    const std::string pictures = std::string(nameOf(format)) + " pictures ";
    if (format == Format::jpeg && CV_MAT_DEPTH(type) != CV_8U)
        return pictures + "have 8 bits, and the frames have 16";
    const std::int32_t longest = longestSide(format);
    if (std::max(size.width, size.height) > longest)
        return pictures + "end at " + std::to_string(longest) + " pixels a side, and this one is " +
               std::to_string(size.width) + " x " + std::to_string(size.height);
    return std::nullopt;
}

std::vector<fs::path> filesOf(const PictureFile& file) {
    if (file.format == Format::deepZoom) return {tilesOf(file.path), file.path};
    return {file.path};
}

void writePicture(const PictureFile& file, const PictureParts& parts, const Progress& progress) {
    if (const auto problem = formatProblem(file.format, parts.layout.size, parts.layout.type))
        throw std::runtime_error(*problem);
    startVips();
    Replacement replacement(file.path);
    {
        const VipsThreads threads(parts.layout);
        VipsBands bands(parts, frameMemory, writablePixelSize(file), progress);
        vips_error_clear();
        const bool saved = saveImage(file, bands.image(), replacement.folder());
        bands.check();
        // What fails when the last bytes go out is told in the messages only.
        if (!saved || *vips_error_buffer() != '\0')
            throw std::runtime_error(file.path.string() + " cannot be written: " + vipsMessage());
    }
    replacement.moveTo(savedNames(file.format), filesOf(file));
}

}  // namespace brantel::render
