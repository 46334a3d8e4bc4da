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

#include "pictures/image_io.h"
#include "pictures/picture_bytes.h"
#include "pictures/tiff_writer.h"
#include "system/files.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr int jpegQuality = 95;
constexpr std::int32_t longestJpegSide = 65535;
constexpr std::int64_t mostPngBytes = std::numeric_limits<std::int32_t>::max() / 2;  // counted in int

/// The decoder has red first.
template <class Sample>
cv::Mat toMat(Sample* samples, cv::Size size, bool colour) {
    cv::Mat picture(size, CV_MAKETYPE(cv::DataType<Sample>::depth, colour ? 3 : 1));
    const std::int64_t pixels = std::int64_t{size.width} * size.height;
    if (colour)
        for (std::int64_t i = 0; i < pixels; ++i) std::swap(samples[3 * i], samples[3 * i + 2]);
    std::copy(samples, samples + pixels * picture.channels(), picture.ptr<Sample>());
    stbi_image_free(samples);
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

std::vector<std::uint8_t> encode(const std::string& extension, const cv::Mat& picture) {
    std::vector<std::uint8_t> file;
    const std::vector<std::uint8_t> samples = redFirst(picture);
    const int channels = picture.channels();
    if (extension == ".png")
        stbi_write_png_to_func(append, &file, picture.cols, picture.rows, channels, samples.data(), 0);
    else
        stbi_write_jpg_to_func(append, &file, picture.cols, picture.rows, channels, samples.data(),
                               jpegQuality);
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

const char* const readableKinds = "PNG, JPEG, BMP and PNM";
const char* const outputNames = ".png, .tif or .jpg";

bool isPictureName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".jpg", ".jpeg", ".jpe", ".bmp", ".pgm", ".ppm", ".pnm"});
}

bool isOutputName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".tif", ".tiff", ".jpg", ".jpeg"});
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
    const bool colour = stored >= 3;  // 2 and 4: with transparency, which is dropped
    if (stbi_is_16_bit_from_memory(bytes.data(), size) != 0) {
        stbi_us* samples =
            stbi_load_16_from_memory(bytes.data(), size, &width, &height, &stored, colour ? 3 : 1);
        return samples == nullptr ? cv::Mat() : toMat(samples, {width, height}, colour);
    }
    stbi_uc* samples = stbi_load_from_memory(bytes.data(), size, &width, &height, &stored, colour ? 3 : 1);
    return samples == nullptr ? cv::Mat() : withChannels(toMat(samples, {width, height}, colour), channels);
}

std::optional<std::string> sizeProblem(const fs::path& path, cv::Size size) {
    const std::string extension = extensionOf(path);
    if (isOneOf(extension, {".jpg", ".jpeg"}) && std::max(size.width, size.height) > longestJpegSide)
        return "JPEG holds at most " + std::to_string(longestJpegSide) + " pixels on a side";
    constexpr std::int64_t mostChannels = 3;
    if (extension == ".png" && (size.width * mostChannels + 1) * size.height > mostPngBytes)
        return "PNG is written with at most 1 GB of pixels";
    return std::nullopt;
}

void writePicture(const fs::path& path, const cv::Mat& picture) {
    const std::string extension = extensionOf(path);
    if (isOneOf(extension, {".tif", ".tiff"})) {
        writeTiff(path, picture);
        return;
    }
    std::vector<std::uint8_t> bytes;
    if (!picture.empty() && !sizeProblem(path, picture.size())) bytes = encode(extension, picture);
    if (bytes.empty())
        throw OutputError("cannot write " + path.u8string() + ": the picture of " + sizeText(picture.size()) +
                          " pixels cannot be made into this format; choose another of " + outputNames);
    writeFile(path, bytes.data(), bytes.size());
}

void writeQuickly(const fs::path& path, const cv::Mat& picture) {
    writePicture(path, picture);  // the encoder's effort is one setting for all threads
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

}  // namespace brantel::programs
