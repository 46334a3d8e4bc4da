#include "picture_folder.h"

#include <vips/vips.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>

namespace brantel::test {

namespace fs = std::filesystem;

namespace {

VipsImage* load(const fs::path& file, std::int32_t page) {
    VIPS_INIT("tests");
    const std::string name = file.string();
    const char* loader = vips_foreign_find_load(name.c_str());
    VipsImage* image = nullptr;
    if (loader == nullptr) return nullptr;
    if (std::strstr(loader, "Tiff") != nullptr)
        vips_tiffload(name.c_str(), &image, "page", page, nullptr);
    else if (std::strstr(loader, "Png") != nullptr)
        vips_pngload(name.c_str(), &image, nullptr);
    else
        vips_jpegload(name.c_str(), &image, nullptr);
    return image;
}

void addAttributes(GMarkupParseContext*, const char* element, const char** names, const char** values,
                   void* all, GError**) {
    for (; *names != nullptr; ++names, ++values)
        (*static_cast<std::map<std::string, std::string>*>(all))[std::string(element) + "/" + *names] =
            *values;
}

}  // namespace

std::map<std::string, std::string> contentsOf(const fs::path& folder) {
    std::map<std::string, std::string> contents;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = fs::relative(entry.path(), folder).string();
        if (entry.is_directory()) {
            contents[name + "/"];
            continue;
        }
        std::ifstream file(entry.path(), std::ios::binary);
        contents[name] = {std::istreambuf_iterator<char>(file), {}};
    }
    return contents;
}

cv::Mat readPicture(const fs::path& file, std::int32_t page) {
    VipsImage* image = load(file, page);
    if (image == nullptr) return {};
    std::size_t bytes = 0;
    void* pixels = vips_image_write_to_memory(image, &bytes);
    const int depth = vips_image_get_format(image) == VIPS_FORMAT_UCHAR ? CV_8U : CV_16U;
    cv::Mat picture;
    if (pixels != nullptr)
        picture = cv::Mat(vips_image_get_height(image), vips_image_get_width(image),
                          CV_MAKETYPE(depth, vips_image_get_bands(image)), pixels)
                      .clone();
    g_free(pixels);
    g_object_unref(image);
    return picture;
}

double resolutionOf(const fs::path& file) {
    VipsImage* image = load(file, 0);
    if (image == nullptr) return 0;
    const double resolution = vips_image_get_xres(image);
    g_object_unref(image);
    return resolution;
}

cv::Mat readDeepZoom(const fs::path& tiles, cv::Size size, const std::string& suffix) {
    constexpr std::int32_t tileSize = 254;
    const auto level = static_cast<std::int32_t>(std::ceil(std::log2(std::max(size.width, size.height))));
    cv::Mat picture;
    for (std::int32_t y = 0; y * tileSize < size.height; ++y)
        for (std::int32_t x = 0; x * tileSize < size.width; ++x) {
            const std::string name = std::to_string(x) + "_" + std::to_string(y) + suffix;
            const cv::Mat tile = readPicture(tiles / std::to_string(level) / name);
            if (tile.empty()) return {};
            if (picture.empty()) picture = cv::Mat::zeros(size, tile.type());
            // All but the first ones begin a pixel earlier.
            const cv::Point at(x == 0 ? 0 : x * tileSize - 1, y == 0 ? 0 : y * tileSize - 1);
            tile.copyTo(picture(cv::Rect(at, tile.size())));
        }
    return picture;
}

bool sameBytes(const cv::Mat& one, const cv::Mat& other) {
    return one.size() == other.size() && one.type() == other.type() &&
           std::memcmp(one.data, other.data, one.total() * one.elemSize()) == 0;
}

double meanDifference(const cv::Mat& one, const cv::Mat& other) {
    if (one.size() != other.size() || one.type() != other.type()) return INFINITY;
    return cv::norm(one, other, cv::NORM_L1) /
           static_cast<double>(one.total() * static_cast<std::size_t>(one.channels()));
}

std::map<std::string, std::string> attributesOf(const std::string& xml) {
    std::map<std::string, std::string> attributes;
    GMarkupParser parser{};
    parser.start_element = addAttributes;
    GMarkupParseContext* context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags{}, &attributes, nullptr);
    const bool well =
        g_markup_parse_context_parse(context, xml.data(), static_cast<gssize>(xml.size()), nullptr) != 0 &&
        g_markup_parse_context_end_parse(context, nullptr) != 0;
    g_markup_parse_context_free(context);
    if (!well) attributes.clear();
    return attributes;
}

}  // namespace brantel::test
