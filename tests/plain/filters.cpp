#include "plain/filters.h"

#include <cstring>

#include "common/tuning.h"

namespace brantel::plain {

namespace {

bool anyNull(const void* a, const void* b, const void* c) {
    if (a != nullptr && b != nullptr && c != nullptr) return false;
    return true;
}

/// Row of the unpadded image that row r of the padded one mirrors.
std::int64_t mirrored(std::int64_t r, std::int64_t rows) {
    r -= 2;
    if (r < 0) return -r;
    return r < rows ? r : 2 * rows - 2 - r;
}

float sum5(const float* p, std::int64_t step, const float* k) {
    float sum = 0.0F;
    for (int t = 0; t < 5; ++t) sum += k[t] * p[(t - 2) * step];
    return sum;
}

}  // namespace

bool padReflect2(const float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB) {
    if (anyNull(image, paddedA, paddedB)) return false;
    if (rows <= 2 || cols <= 2) return true;
    const std::int64_t width = std::int64_t{cols} + 4;
    for (std::int64_t r = 0; r < std::int64_t{rows} + 4; ++r) {
        const float* from = image + mirrored(r, rows) * cols;
        float* to = paddedA + r * width;
        to[0] = from[2];
        to[1] = from[1];
        std::memcpy(to + 2, from, static_cast<std::size_t>(cols) * sizeof(float));
        to[cols + 2] = from[cols - 2];
        to[cols + 3] = from[cols - 3];
        std::memcpy(paddedB + r * width, to, static_cast<std::size_t>(width) * sizeof(float));
    }
    return true;
}

bool filterColumn5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                   float* output) {
    if (anyNull(input, kernel, output)) return false;
    for (std::int64_t r = 2; r < std::int64_t{rows} - 2; ++r)
        for (std::int64_t x = 0; x < cols; ++x)
            output[r * cols + x] = sum5(input + r * cols + x, cols, kernel);
    return true;
}

bool filterRow5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                float* output) {
    if (anyNull(input, kernel, output)) return false;
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t x = 2; x < std::int64_t{cols} - 2; ++x)
            output[r * cols + x] = sum5(input + r * cols + x, 1, kernel);
    return true;
}

bool cropPadding2(const float* input, std::int32_t rows, std::int32_t cols, float* output) {
    if (anyNull(input, output, output)) return false;
    const std::int64_t width = std::int64_t{cols} - 4;
    if (width < 1) return true;
    for (std::int64_t r = 0; r < std::int64_t{rows} - 4; ++r)
        std::memcpy(output + r * width, input + (r + 2) * cols + 2,
                    static_cast<std::size_t>(width) * sizeof(float));
    return true;
}

void smoothProduct(float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB) {
    if (rows <= 2 || cols <= 2) return;
    padReflect2(image, rows, cols, paddedA, paddedB);
    filterColumn5(paddedB, responseKernel, rows + 4, cols + 4, paddedA);
    filterRow5(paddedA, responseKernel, rows + 4, cols + 4, paddedB);
    cropPadding2(paddedB, rows + 4, cols + 4, image);
}

}  // namespace brantel::plain
