// Operations on packed 8-bit images, pixel by pixel.
#pragma once

#include <cstdint>

#include "common/log.h"

namespace brantel::reference {

// Those that return a bool return false for a null image, with the line given; images too small for a step are left
// alone.

/// Grey conversion of a blue, green, red frame. "rgb2gray ptr invailed".
bool rgb2gray(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
              std::uint8_t* grey);

/// Products of the absolute Sobel gradients (>> 2) at interior pixels; the cross term is the product of two magnitudes
/// and so never negative, deliberately (quirk 24). "ptr is null".
bool findGradSquareCrossTerms(const Log& log, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                              float* xx, float* yy, float* xy);

/// (1 2 1; 2 4 2; 1 2 1) / 16, truncating, at interior pixels. "ptr is NULL".
bool smooth3x3(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
               std::uint8_t* destination);

/// Sum of absolute differences divided by the number of pixels, truncating.
std::int64_t meanAbsoluteDifference(const std::uint8_t* a, const std::uint8_t* b, std::int64_t pixels);

}  // namespace brantel::reference
