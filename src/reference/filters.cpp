#include "reference/filters.h"

#include <algorithm>

#include "common/tuning.h"

namespace brantel::reference {

namespace {

constexpr std::int32_t reach = 2;  // of the filter to each side

bool anyNull(const Log& log, const void* a, const void* b, const void* c = "") {
    if (a != nullptr && b != nullptr && c != nullptr) return false;
    log.streamLine("ptr is NULL");
    return true;
}

std::int64_t mirrored(std::int64_t i, std::int64_t length) {
    if (i < 0) return -i;
    return i < length ? i : 2 * length - 2 - i;
}

template <class T>
bool pad(const Log& log, const T* image, std::int64_t rows, std::int64_t cols, std::int64_t border,
         T* paddedA, T* paddedB) {
    if (anyNull(log, image, paddedA, paddedB)) return false;
    if (rows <= border || cols <= border) return true;
    const std::int64_t width = cols + 2 * border;
    for (std::int64_t r = -border; r < rows + border; ++r, paddedA += width, paddedB += width) {
        const T* from = image + mirrored(r, rows) * cols;
        std::copy_n(from, cols, paddedA + border);
        for (std::int64_t k = 1; k <= border; ++k) {
            paddedA[border - k] = from[k];
            paddedA[border + cols - 1 + k] = from[cols - 1 - k];
        }
        std::copy_n(paddedA, width, paddedB);
    }
    return true;
}

template <class T>
T sum5(const T* centre, std::int64_t step, const float* kernel) {
    float sum = 0.0F;
    for (std::int64_t t = -reach; t <= reach; ++t)
        sum += kernel[t + reach] * static_cast<float>(centre[t * step]);
    return static_cast<T>(sum);
}

/// Filters what lies so many rows and columns inside the image, by taps that lie step elements apart.
template <class T>
bool filter5(const Log& log, const T* input, const float* kernel, std::int64_t rows, std::int64_t cols,
             std::int64_t rowMargin, std::int64_t colMargin, std::int64_t step, T* output) {
    if (anyNull(log, input, kernel, output)) return false;
    for (std::int64_t r = rowMargin; r < rows - rowMargin; ++r)
        for (std::int64_t i = r * cols + colMargin; i < (r + 1) * cols - colMargin; ++i)
            output[i] = sum5(input + i, step, kernel);
    return true;
}

template <class T>
bool filterColumns(const Log& log, const T* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                   T* output) {
    return filter5(log, input, kernel, rows, cols, reach, 0, cols, output);
}

template <class T>
bool filterRows(const Log& log, const T* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                T* output) {
    return filter5(log, input, kernel, rows, cols, 0, reach, 1, output);
}

template <class T>
bool crop(const Log& log, const T* input, std::int64_t rows, std::int64_t cols, std::int64_t border,
          T* output) {
    if (anyNull(log, input, output)) return false;
    const std::int64_t width = cols - 2 * border;
    if (width < 1) return true;
    for (std::int64_t r = border; r < rows - border; ++r, output += width)
        std::copy_n(input + r * cols + border, width, output);
    return true;
}

template <class T>
void smooth(const Log& log, T* image, std::int32_t rows, std::int32_t cols, const float* kernel, T* paddedA,
            T* paddedB) {
    if (rows <= reach || cols <= reach) return;
    pad(log, image, rows, cols, reach, paddedA, paddedB);
    filterColumns(log, paddedB, kernel, rows + 2 * reach, cols + 2 * reach, paddedA);
    filterRows(log, paddedA, kernel, rows + 2 * reach, cols + 2 * reach, paddedB);
    crop(log, paddedB, rows + 2 * reach, cols + 2 * reach, reach, image);
}

}  // namespace

bool padReflect2(const Log& log, const float* image, std::int32_t rows, std::int32_t cols, float* paddedA,
                 float* paddedB) {
    return pad(log, image, rows, cols, 2, paddedA, paddedB);
}

bool padReflect101(const Log& log, const std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                   std::int32_t border, std::uint8_t* paddedA, std::uint8_t* paddedB) {
    return pad(log, image, rows, cols, border, paddedA, paddedB);
}

bool filterColumn5(const Log& log, const float* input, const float* kernel, std::int32_t rows,
                   std::int32_t cols, float* output) {
    return filterColumns(log, input, kernel, rows, cols, output);
}

bool filterColumn5u8(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                     std::uint8_t* output) {
    return filterColumns(log, input, smoothingKernel, rows, cols, output);
}

bool filterRow5(const Log& log, const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                float* output) {
    return filterRows(log, input, kernel, rows, cols, output);
}

bool filterRow5u8(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                  std::uint8_t* output) {
    return filterRows(log, input, smoothingKernel, rows, cols, output);
}

bool cropPadding2(const Log& log, const float* input, std::int32_t rows, std::int32_t cols, float* output) {
    return crop(log, input, rows, cols, 2, output);
}

bool cropBorder(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                std::int32_t border, std::uint8_t* output) {
    return crop(log, input, rows, cols, border, output);
}

void smoothProduct(const Log& log, float* image, std::int32_t rows, std::int32_t cols, float* paddedA,
                   float* paddedB) {
    smooth(log, image, rows, cols, responseKernel, paddedA, paddedB);
}

void smoothGrey(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                std::uint8_t* paddedA, std::uint8_t* paddedB) {
    smooth(log, image, rows, cols, smoothingKernel, paddedA, paddedB);
}

}  // namespace brantel::reference
