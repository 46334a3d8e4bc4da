#include "plain/weights.h"

#include <algorithm>

#include "plain/image_ops.h"

namespace brantel::plain {

namespace {

constexpr float sideStep = 0.2F;
constexpr float diagonalStep = 0.3F;
constexpr float far = 255.0F;

/// One pass: from the pixel at start along step, row by row.
void relax(float* pixel, std::int64_t step, std::int64_t row) {
    if (*pixel == 0.0F) return;
    const float side = pixel[step] + sideStep;
    const float next = pixel[row] + sideStep;
    const float diagonal = pixel[row + step] + diagonalStep;
    *pixel = std::min(std::min(*pixel, side), std::min(next, diagonal));
}

}  // namespace

bool occupancyMask(const std::uint8_t* image, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                   float* mask) {
    if (image == nullptr || mask == nullptr) {
        return false;
    }
    for (std::int64_t i = 0; i < std::int64_t{rows} * cols; ++i) {
        const std::uint8_t value =
            channels == 3 ? greyOf(image[3 * i], image[3 * i + 1], image[3 * i + 2]) : image[i];
        mask[i] = value > 0 ? far : 0.0F;
    }
    return true;
}

bool clearMaskEdge(float* mask, std::int32_t rows, std::int32_t cols) {
    if (mask == nullptr) return false;
    if (rows < 1 || cols < 1) return true;
    for (std::int64_t r = 0; r < rows; ++r) mask[r * cols] = mask[r * cols + cols - 1] = 0.0F;
    for (std::int64_t x = 0; x < cols; ++x) mask[x] = mask[(std::int64_t{rows} - 1) * cols + x] = 0.0F;
    return true;
}

void chamferDistance(float* mask, std::int32_t rows, std::int32_t cols) {
    for (std::int64_t r = 1; r < std::int64_t{rows} - 1; ++r)
        for (std::int64_t x = 1; x < std::int64_t{cols} - 1; ++x) relax(mask + r * cols + x, -1, -cols);
    for (std::int64_t r = std::int64_t{rows} - 2; r >= 1; --r)
        for (std::int64_t x = std::int64_t{cols} - 2; x >= 1; --x) relax(mask + r * cols + x, 1, cols);
}

void weightsFromDistances(const float* a, const float* b, std::int64_t pixels, std::uint8_t* weights) {
    for (std::int64_t i = 0; i < pixels; ++i) {
        const float total = a[i] + b[i];
        // 0 / 0 is no number and may not be converted; such pixels keep the new frame
        weights[i] =
            total == 0.0F ? 0 : static_cast<std::uint8_t>(static_cast<std::int32_t>((255.0F * a[i]) / total));
    }
}

bool weightMask(const std::uint8_t* cut, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                std::int32_t channels, float* maskA, float* maskB, std::uint8_t* weights) {
    if (cut == nullptr || frame == nullptr || weights == nullptr) {
        return false;
    }
    occupancyMask(cut, rows, cols, channels, maskA);
    occupancyMask(frame, rows, cols, channels, maskB);
    clearMaskEdge(maskB, rows, cols);
    chamferDistance(maskA, rows, cols);
    chamferDistance(maskB, rows, cols);
    weightsFromDistances(maskA, maskB, std::int64_t{rows} * cols, weights);
    return true;
}

void fuseImages(const std::uint8_t* cut, const std::uint8_t* weights, std::int64_t pixels,
                std::int32_t channels, std::uint8_t* frame) {
    for (std::int64_t i = 0; i < pixels; ++i) {
        const unsigned w = weights[i];
        if (channels == 1) {
            frame[i] = static_cast<std::uint8_t>((cut[i] * w + (255U - w) * frame[i]) >> 8U);
        } else {
            for (std::int64_t k = 3 * i; k < 3 * i + 3; ++k)
                frame[k] = static_cast<std::uint8_t>(((255U - w) * frame[k] + w * cut[k]) / 255U);
        }
    }
}

}  // namespace brantel::plain
