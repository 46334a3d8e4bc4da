#include "reference/image_ops.h"

#include <cstdlib>

#include "common/grey.h"

namespace brantel::reference {

namespace {

bool anyNull(const Log& log, const char* line, const void* a, const void* b, const void* c = "",
             const void* d = "") {
    if (a != nullptr && b != nullptr && c != nullptr && d != nullptr) return false;
    log.streamLine(line);
    return true;
}

}  // namespace

bool rgb2gray(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
              std::uint8_t* grey) {
    if (anyNull(log, "rgb2gray ptr invailed", source, grey)) return false;
    for (std::int64_t i = 0; i < std::int64_t{rows} * cols; ++i)
        grey[i] = greyOf(source[3 * i], source[3 * i + 1], source[3 * i + 2]);
    return true;
}

bool findGradSquareCrossTerms(const Log& log, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                              float* xx, float* yy, float* xy) {
    if (anyNull(log, "ptr is null", grey, xx, yy, xy)) return false;
    for (std::int64_t r = 1; r < std::int64_t{rows} - 1; ++r)
        for (std::int64_t c = 1; c < std::int64_t{cols} - 1; ++c) {
            const std::int64_t i = r * cols + c;
            const std::uint8_t* at = grey + i;
            const std::uint8_t* up = at - cols;
            const std::uint8_t* down = at + cols;
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

bool smooth3x3(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
               std::uint8_t* destination) {
    if (anyNull(log, "ptr is NULL", source, destination)) return false;
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

std::int64_t meanAbsoluteDifference(const std::uint8_t* a, const std::uint8_t* b, std::int64_t pixels) {
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < pixels; ++i) sum += std::abs(a[i] - b[i]);
    return sum / pixels;
}

}  // namespace brantel::reference
