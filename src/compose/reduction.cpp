#include "compose/reduction.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace brantel {

namespace {

struct Source {
    const std::uint8_t* pixels;
    std::int64_t rows;
    std::int64_t cols;
    std::int32_t channels;

    double sample(std::int64_t r, std::int64_t x, std::int32_t channel) const {
        r = std::min(r, rows - 1);
        x = std::min(x, cols - 1);
        return pixels[(r * cols + x) * channels + channel];
    }
};

void sampleEven(const Source& source, std::int32_t factor, std::uint8_t* destination) {
    const std::int64_t outRows = source.rows / factor;
    const std::int64_t outCols = source.cols / factor;
    const int shift = std::min(factor / 2, 32);
    const std::int64_t pixels = source.rows * source.cols;
    for (std::int64_t r = 0; r < outRows; ++r)
        for (std::int64_t x = 0; x < outCols; ++x) {
            const std::int64_t from = std::min((r * source.cols + x), pixels) << shift;
            for (std::int32_t c = 0; c < source.channels; ++c)
                *destination++ = from < pixels ? source.pixels[from * source.channels + c] : 0;
        }
}

/// One sample between its four neighbours. At an odd factor the positions are whole numbers and the weights
/// of the far neighbours 0.
std::uint8_t interpolate(const Source& source, double y, double x, std::int32_t channel) {
    const double y0 = std::floor(y);
    const double x0 = std::floor(x);
    const auto r0 = static_cast<std::int64_t>(y0);
    const auto c0 = static_cast<std::int64_t>(x0);
    const auto r1 = static_cast<std::int64_t>(std::floor(y + 1.0));
    const auto c1 = static_cast<std::int64_t>(std::floor(x + 1.0));
    const double wy = y - y0;
    const double wx = x - x0;
    const double upper = source.sample(r0, c0, channel) * (1.0 - wx) + source.sample(r0, c1, channel) * wx;
    const double lower = source.sample(r1, c0, channel) * (1.0 - wx) + source.sample(r1, c1, channel) * wx;
    return static_cast<std::uint8_t>(std::min(upper * (1.0 - wy) + lower * wy, 255.0));
}

void interpolateOdd(const Source& source, std::int32_t factor, std::uint8_t* destination) {
    const auto outRows = std::int64_t{std::llround(static_cast<double>(source.rows) / factor)};
    const auto outCols = std::int64_t{std::llround(static_cast<double>(source.cols) / factor)};
    for (std::int64_t r = 0; r < outRows; ++r)
        for (std::int64_t x = 0; x < outCols; ++x)
            for (std::int32_t c = 0; c < source.channels; ++c)
                *destination++ =
                    interpolate(source, static_cast<double>(r) * factor, static_cast<double>(x) * factor, c);
}

}  // namespace

bool downscaleImage(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                    std::int32_t factor, std::int32_t channels, std::uint8_t* destination) {
    if (source == nullptr || destination == nullptr || factor == 0) {
        log.streamLine("src is null || scale is 0");
        return false;
    }
    if (rows < 1 || cols < 1 || factor < 0 || (channels != 1 && channels != 3)) return true;
    const Source from{source, rows, cols, channels};
    if (factor == 1) {
        std::memcpy(destination, source, static_cast<std::size_t>(from.rows * from.cols * channels));
    } else if (factor % 2 == 0) {
        sampleEven(from, factor, destination);
    } else {
        interpolateOdd(from, factor, destination);
    }
    return true;
}

void takeFrame(const Log& log, std::uint8_t* to, const std::uint8_t* from, std::int32_t scale,
               const ImageDesc& size) {
    const auto bytes = static_cast<std::size_t>(size.bytes());
    if (scale == 1) {
        std::memcpy(to, from, bytes);
        return;
    }
    std::memset(to, 0, bytes);
    downscaleImage(log, from, size.rows, size.cols, scale, size.channels, to);
}

}  // namespace brantel
