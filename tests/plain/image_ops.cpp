#include "plain/image_ops.h"

#include <cstdlib>
#include <cstring>

#include "common/tuning.h"

namespace brantel::plain {

namespace {

bool anyNull(const void* a, const void* b, const void* c = "", const void* d = "") {
    if (a != nullptr && b != nullptr && c != nullptr && d != nullptr) return false;
    return true;
}

std::int64_t mirrored(std::int64_t i, std::int64_t length) {
    if (i < 0) return -i;
    return i < length ? i : 2 * length - 2 - i;
}

std::uint8_t smooth5(const std::uint8_t* p, std::int64_t step) {
    float sum = 0.0F;
    for (int t = 0; t < 5; ++t) sum += smoothingKernel[t] * static_cast<float>(p[(t - 2) * step]);
    return static_cast<std::uint8_t>(sum);
}

}  // namespace

bool rgb2gray(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* grey) {
    if (anyNull(source, grey)) return false;
    for (std::int64_t i = 0; i < std::int64_t{rows} * cols; ++i)
        grey[i] = greyOf(source[3 * i], source[3 * i + 1], source[3 * i + 2]);
    return true;
}

bool findGradSquareCrossTerms(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols, float* xx,
                              float* yy, float* xy) {
    if (anyNull(grey, xx, yy, xy)) return false;
    for (std::int64_t r = 1; r < std::int64_t{rows} - 1; ++r)
        for (std::int64_t c = 1; c < std::int64_t{cols} - 1; ++c) {
            const std::int64_t i = r * cols + c;
            const std::uint8_t* up = grey + i - cols;
            const std::uint8_t* at = grey + i;
            const std::uint8_t* down = grey + i + cols;
            const int gy = 2 * (down[0] - up[0]) + down[-1] + down[1] - up[-1] - up[1];
            const int gx = 2 * (at[1] - at[-1]) + up[1] + down[1] - up[-1] - down[-1];
            const int ax = std::abs(gx) >> 2;
            const int ay = std::abs(gy) >> 2;
            xx[i] = static_cast<float>(ax * ax);
            yy[i] = static_cast<float>(ay * ay);
            xy[i] = static_cast<float>(ax * ay);
        }
    return true;
}

bool padReflect101(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                   std::uint8_t* destination, std::uint8_t* destination2) {
    if (anyNull(source, destination, destination2)) return false;
    if (rows <= border || cols <= border) return true;
    const std::int64_t width = std::int64_t{cols} + 2 * std::int64_t{border};
    for (std::int64_t r = 0; r < std::int64_t{rows} + 2 * std::int64_t{border}; ++r) {
        const std::uint8_t* from = source + mirrored(r - border, rows) * cols;
        std::uint8_t* to = destination + r * width;
        for (std::int64_t k = 1; k <= border; ++k) {
            to[border - k] = from[k];
            to[border + cols - 1 + k] = from[cols - 1 - k];
        }
        std::memcpy(to + border, from, static_cast<std::size_t>(cols));
        std::memcpy(destination2 + r * width, to, static_cast<std::size_t>(width));
    }
    return true;
}

bool smooth3x3(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* destination) {
    if (anyNull(source, destination)) return false;
    for (std::int64_t r = 1; r < std::int64_t{rows} - 1; ++r)
        for (std::int64_t c = 1; c < std::int64_t{cols} - 1; ++c) {
            const std::uint8_t* at = source + r * cols + c;
            const std::uint8_t* up = at - cols;
            const std::uint8_t* down = at + cols;
            const int sum = up[-1] + 2 * up[0] + up[1] + 2 * at[-1] + 4 * at[0] + 2 * at[1] + down[-1] +
                            2 * down[0] + down[1];
            destination[r * cols + c] = static_cast<std::uint8_t>(sum >> 4);
        }
    return true;
}

bool filterColumn5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                     std::uint8_t* destination) {
    if (anyNull(source, destination)) return false;
    for (std::int64_t r = 2; r < std::int64_t{rows} - 2; ++r)
        for (std::int64_t c = 0; c < cols; ++c)
            destination[r * cols + c] = smooth5(source + r * cols + c, cols);
    return true;
}

bool filterRow5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                  std::uint8_t* destination) {
    if (anyNull(source, destination)) return false;
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t c = 2; c < std::int64_t{cols} - 2; ++c)
            destination[r * cols + c] = smooth5(source + r * cols + c, 1);
    return true;
}

bool cropBorder(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                std::uint8_t* destination) {
    if (anyNull(source, destination)) return false;
    const std::int64_t width = std::int64_t{cols} - 2 * std::int64_t{border};
    if (width < 1) return true;
    for (std::int64_t r = 0; r < std::int64_t{rows} - 2 * std::int64_t{border}; ++r)
        std::memcpy(destination + r * width, source + (r + border) * cols + border,
                    static_cast<std::size_t>(width));
    return true;
}

void smoothGrey(std::uint8_t* grey, std::int32_t rows, std::int32_t cols, std::uint8_t* paddedA,
                std::uint8_t* paddedB) {
    constexpr std::int32_t border = 2;
    if (rows <= border || cols <= border) return;
    padReflect101(grey, rows, cols, border, paddedA, paddedB);
    filterColumn5u8(paddedA, rows + 2 * border, cols + 2 * border, paddedB);
    filterRow5u8(paddedB, rows + 2 * border, cols + 2 * border, paddedA);
    cropBorder(paddedA, rows + 2 * border, cols + 2 * border, border, grey);
}

std::int64_t meanAbsoluteDifference(const std::uint8_t* a, const std::uint8_t* b, std::int64_t pixels) {
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < pixels; ++i) sum += std::abs(a[i] - b[i]);
    return sum / pixels;
}

}  // namespace brantel::plain
