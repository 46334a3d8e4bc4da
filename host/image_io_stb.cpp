// Pictures by the stb headers: PNG, JPEG, BMP and PNM, for systems without OpenCV's codecs.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_ONLY_PNM
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <algorithm>
#include <limits>

#include "files.h"
#include "image_io.h"
#include "picture_bytes.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr int jpegQuality = 95;
constexpr std::int32_t longestJpegSide = 65535;

/// Weights of 14 bits, rounded: the usual conversion to grey.
std::uint8_t greyOf(const std::uint8_t* rgb) {
    return static_cast<std::uint8_t>((rgb[0] * 4899 + rgb[1] * 9617 + rgb[2] * 1868 + 8192) >> 14);
}

cv::Mat toMat(const std::uint8_t* samples, cv::Size size, bool stored3, Channels wanted) {
    const bool want3 = wanted == Channels::asStored ? stored3 : wanted == Channels::colour;
    cv::Mat picture(size, want3 ? CV_8UC3 : CV_8UC1);
    std::uint8_t* out = picture.data;
    const std::int64_t pixels = std::int64_t{size.width} * size.height;
    for (std::int64_t i = 0; i < pixels; ++i, samples += stored3 ? 3 : 1) {
        if (!want3) {
            *out++ = stored3 ? greyOf(samples) : samples[0];
        } else {
            out[0] = samples[stored3 ? 2 : 0];  // blue first
            out[1] = samples[stored3 ? 1 : 0];
            out[2] = samples[0];
            out += 3;
        }
    }
    return picture;
}

std::vector<std::uint8_t> redFirst(const cv::Mat& picture) {
    const std::size_t bytes = picture.total() * picture.elemSize();
    std::vector<std::uint8_t> samples;
    samples.reserve(bytes);
    const std::size_t line = picture.cols * picture.elemSize();
    for (std::int32_t r = 0; r < picture.rows; ++r)
        samples.insert(samples.end(), picture.ptr(r), picture.ptr(r) + line);
    if (picture.channels() == 3)
        for (std::size_t i = 0; i < bytes; i += 3) std::swap(samples[i], samples[i + 2]);
    return samples;
}

void append(void* to, void* bytes, int size) {
    auto& file = *static_cast<std::vector<std::uint8_t>*>(to);
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    file.insert(file.end(), first, first + size);
}

/// The writers count bytes in int.
bool countable(const cv::Mat& picture) {
    const auto line = static_cast<std::int64_t>(picture.cols * picture.elemSize() + 1);
    return line * picture.rows <= std::numeric_limits<std::int32_t>::max() / 2;
}

std::vector<std::uint8_t> encode(const std::string& extension, const cv::Mat& picture) {
    std::vector<std::uint8_t> file;
    if (picture.empty() || !countable(picture)) return file;
    const std::vector<std::uint8_t> samples = redFirst(picture);
    const int channels = picture.channels();
    if (extension == ".png") {
        stbi_write_png_to_func(append, &file, picture.cols, picture.rows, channels, samples.data(), 0);
    } else if (isOneOf(extension, {".jpg", ".jpeg"}) &&
               std::max(picture.cols, picture.rows) <= longestJpegSide) {
        stbi_write_jpg_to_func(append, &file, picture.cols, picture.rows, channels, samples.data(),
                               jpegQuality);
    }
    return file;
}

void paint(cv::Mat& picture, std::int32_t x, std::int32_t y, const cv::Scalar& colour) {
    if (x < 0 || y < 0 || x >= picture.cols || y >= picture.rows) return;
    std::uint8_t* pixel = picture.ptr(y) + std::ptrdiff_t{x} * picture.channels();
    for (int c = 0; c < picture.channels(); ++c)
        pixel[c] = static_cast<std::uint8_t>(std::clamp(colour[c] + 0.5, 0.0, 255.0));
}

/// Mean of the source pixels whose centres a destination pixel covers, each channel by itself.
void average(const cv::Mat& from, cv::Rect box, std::uint8_t* out) {
    for (int c = 0; c < 3; ++c) {
        const int channel = from.channels() == 3 ? c : 0;
        std::int64_t sum = 0;
        for (std::int32_t y = box.y; y < box.y + box.height; ++y)
            for (std::int32_t x = box.x; x < box.x + box.width; ++x)
                sum += from.ptr(y)[std::ptrdiff_t{x} * from.channels() + channel];
        out[c] = static_cast<std::uint8_t>((sum + box.area() / 2) / box.area());
    }
}

/// Pixels [first, last) of length that the k-th of count parts takes; at least one.
std::pair<std::int32_t, std::int32_t> part(std::int32_t k, std::int32_t count, std::int32_t length) {
    const auto edge = [&](std::int64_t i) { return static_cast<std::int32_t>(i * length / count); };
    return {edge(k), std::max(edge(k) + 1, edge(k + 1))};
}

}  // namespace

const char* const outputNames = ".png or .jpg";

bool isPictureName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".jpg", ".jpeg", ".jpe", ".bmp", ".pgm", ".ppm", ".pnm"});
}

bool isOutputName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".jpg", ".jpeg"});
}

cv::Mat decodePicture(const std::vector<std::uint8_t>& bytes, Channels channels) {
    if (bytes.empty() || breaksOff(bytes) ||
        bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return {};
    const auto size = static_cast<int>(bytes.size());
    int width = 0;
    int height = 0;
    int stored = 0;
    if (!stbi_info_from_memory(bytes.data(), size, &width, &height, &stored)) return {};
    const bool stored3 = stored >= 3;  // 2 and 4: with transparency, which is dropped
    std::uint8_t* samples =
        stbi_load_from_memory(bytes.data(), size, &width, &height, &stored, stored3 ? 3 : 1);
    if (samples == nullptr) return {};
    const cv::Mat picture = toMat(samples, {width, height}, stored3, channels);
    stbi_image_free(samples);
    return picture;
}

cv::Mat readPicture(const fs::path& path, Channels channels) {
    return decodePicture(readFile(path), channels);
}

void writePicture(const fs::path& path, const cv::Mat& picture) {
    const std::vector<std::uint8_t> bytes = encode(extensionOf(path), picture);
    if (bytes.empty()) throw tooLargeFor(path, picture.size());
    writeFile(path, bytes.data(), bytes.size());
}

cv::Mat reducedColour(const cv::Mat& picture, cv::Size size) {
    cv::Mat reduced(size, CV_8UC3);
    for (std::int32_t r = 0; r < size.height; ++r) {
        const auto [top, bottom] = part(r, size.height, picture.rows);
        for (std::int32_t c = 0; c < size.width; ++c) {
            const auto [left, right] = part(c, size.width, picture.cols);
            average(picture, {left, top, right - left, bottom - top}, reduced.ptr(r) + std::ptrdiff_t{c} * 3);
        }
    }
    return reduced;
}

void drawLine(cv::Mat& picture, cv::Point from, cv::Point to, const cv::Scalar& colour,
              std::int32_t thickness) {
    const cv::Point way = to - from;
    const std::int32_t steps = std::max({std::abs(way.x), std::abs(way.y), 1});
    for (std::int32_t i = 0; i <= steps; ++i) {
        const auto x = static_cast<std::int32_t>(from.x + std::int64_t{way.x} * i / steps);
        const auto y = static_cast<std::int32_t>(from.y + std::int64_t{way.y} * i / steps);
        for (std::int32_t dy = 0; dy < thickness; ++dy)
            for (std::int32_t dx = 0; dx < thickness; ++dx)
                paint(picture, x + dx - thickness / 2, y + dy - thickness / 2, colour);
    }
}

void drawDisc(cv::Mat& picture, cv::Point centre, std::int32_t radius, const cv::Scalar& colour) {
    for (std::int32_t dy = -radius; dy <= radius; ++dy)
        for (std::int32_t dx = -radius; dx <= radius; ++dx)
            if (dx * dx + dy * dy <= radius * radius) paint(picture, centre.x + dx, centre.y + dy, colour);
}

}  // namespace host
