#include "reference/weights.h"

#include <algorithm>

#include "common/grey.h"
#include "compose/bands.h"

namespace brantel::reference {

namespace {

/// One pixel of a pass: step leads to its neighbour in the row, row to the one in the row visited before.
void relax(float* pixel, std::int64_t step, std::int64_t row) {
    constexpr float side = 0.2F;
    constexpr float diagonal = 0.3F;
    if (*pixel == 0.0F) return;
    *pixel = std::min(std::min(*pixel, pixel[step] + side),
                      std::min(pixel[row] + side, pixel[row + step] + diagonal));
}

}  // namespace

bool occupancyMask(const Log& log, const std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                   std::int32_t channels, float* mask) {
    if (image == nullptr || mask == nullptr) {
        log.streamLine("rgb2gray ptr invailed");
        return false;
    }
    for (std::int64_t i = 0; i < std::int64_t{rows} * cols; ++i) {
        const std::uint8_t value =
            channels == 3 ? greyOf(image[3 * i], image[3 * i + 1], image[3 * i + 2]) : image[i];
        mask[i] = value > 0 ? 255.0F : 0.0F;
    }
    return true;
}

void chamferForward(float* mask, std::int32_t rows, std::int32_t cols) {
    for (std::int64_t r = 1; r < std::int64_t{rows} - 1; ++r)
        for (std::int64_t x = 1; x < std::int64_t{cols} - 1; ++x) relax(mask + r * cols + x, -1, -cols);
}

void chamferBackward(float* mask, std::int32_t rows, std::int32_t cols) {
    for (std::int64_t r = std::int64_t{rows} - 2; r >= 1; --r)
        for (std::int64_t x = std::int64_t{cols} - 2; x >= 1; --x) relax(mask + r * cols + x, 1, cols);
}

void chamferDistance(float* mask, std::int32_t rows, std::int32_t cols) {
    chamferForward(mask, rows, cols);
    chamferBackward(mask, rows, cols);
}

void weightsFromDistances(const float* a, const float* b, std::int64_t pixels, std::uint8_t* weights) {
    for (std::int64_t i = 0; i < pixels; ++i) {
        const float total = a[i] + b[i];
        // 0 / 0 is no number and may not be converted; such pixels keep the new frame
        weights[i] =
            total == 0.0F ? 0 : static_cast<std::uint8_t>(static_cast<std::int32_t>((255.0F * a[i]) / total));
    }
}

bool weightMask(const Log& log, const std::uint8_t* cut, const std::uint8_t* frame, std::int32_t rows,
                std::int32_t cols, std::int32_t channels, float* maskA, float* maskB, std::uint8_t* weights) {
    if (cut == nullptr || frame == nullptr || weights == nullptr) {
        log.streamLine("ptr is null");
        return false;
    }
    occupancyMask(log, cut, rows, cols, channels, maskA);
    occupancyMask(log, frame, rows, cols, channels, maskB);
    clearMaskEdge(log, maskB, rows, cols);
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

}  // namespace brantel::reference
