#include "picture/save.h"

#include <system_error>

#include "picture/kept_targets.h"
#include "picture/ome_xml.h"

namespace brantel::render {

namespace fs = std::filesystem;

namespace {

std::int32_t typeOf(VipsImage* image) {
    const int depth = vips_image_get_format(image) == VIPS_FORMAT_UCHAR ? CV_8U : CV_16U;
    return CV_MAKETYPE(depth, vips_image_get_bands(image));
}

/// LZW takes less than half of deflate's time for scans, and everything can read it.
bool saveTiff(const PictureFile& file, VipsImage* image, const fs::path& to) {
    const bool ome = file.format == Format::omeTiff;
    if (ome) {
        const cv::Size size(vips_image_get_width(image), vips_image_get_height(image));
        vips_image_set_string(image, VIPS_META_IMAGEDESCRIPTION,
                              omeXml(size, typeOf(image), file.pixelSize).c_str());
    }
    const KeptTargets kept;
    return vips_tiffsave(image, to.c_str(), "compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW, "predictor",
                         VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, "tile", TRUE, "tile_width", 256,
                         "tile_height", 256, "pyramid", TRUE, "subifd", ome ? TRUE : FALSE, "bigtiff", TRUE,
                         "resunit", VIPS_FOREIGN_TIFF_RESUNIT_CM, nullptr) == 0;
}

bool saveDeepZoom(const PictureFile& file, VipsImage* image, const fs::path& to) {
    const std::string suffix = vips_image_get_format(image) == VIPS_FORMAT_UCHAR
                                   ? ".jpeg[Q=" + std::to_string(file.quality) + "]"
                                   : ".png";
    if (vips_dzsave(image, to.c_str(), "suffix", suffix.c_str(), nullptr) != 0) return false;
    std::error_code ignored;  // it only repeats what libvips knows of the picture
    fs::remove(fs::path(to).concat("_files") / "vips-properties.xml", ignored);
    return true;
}

bool savePng(VipsImage* image, const fs::path& to) {
    return vips_pngsave(image, to.c_str(), "compression", 3, "filter", VIPS_FOREIGN_PNG_FILTER_SUB,
                        nullptr) == 0;
}

/// Centimetres: dots per inch of fine pixels would not fit into the file's 16 bits.
bool saveJpeg(const PictureFile& file, VipsImage* image, const fs::path& to) {
    vips_image_set_string(image, VIPS_META_RESOLUTION_UNIT, "cm");
    return vips_jpegsave(image, to.c_str(), "Q", file.quality, nullptr) == 0;
}

}  // namespace

std::vector<std::string> savedNames(Format format) {
    if (format == Format::deepZoom) return {"picture_files", "picture.dzi"};
    return {"picture"};
}

bool saveImage(const PictureFile& file, VipsImage* image, const fs::path& folder) {
    const fs::path to = folder / "picture";
    switch (file.format) {
        case Format::deepZoom:
            return saveDeepZoom(file, image, to);
        case Format::png:
            return savePng(image, to);
        case Format::jpeg:
            return saveJpeg(file, image, to);
        default:
            return saveTiff(file, image, to);
    }
}

}  // namespace brantel::render
