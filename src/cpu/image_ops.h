// The CPU backend's image operations on packed 8-bit images.
#pragma once

#include <cstdint>

namespace brantel {

// Each returns false for a null image, with the line given; images too small for a step are left alone.

/// Grey conversion of a blue, green, red frame. "rgb2gray ptr invailed".
bool rgb2gray(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* grey);

/// Products of the absolute Sobel gradients (>> 2) at interior pixels; the cross term is the product of two
/// magnitudes and so never negative, deliberately. "ptr is null".
bool findGradSquareCrossTerms(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols, float* xx,
                              float* yy, float* xy);

/// Borders an image on all sides by reflection without repeating the edge, into two identical destinations of
/// (rows + 2 border) x (cols + 2 border). Needs more than border rows and columns. "ptr is NULL", as the
/// rest.
bool padReflect101(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                   std::uint8_t* destination, std::uint8_t* destination2);

/// (1 2 1; 2 4 2; 1 2 1) / 16, truncating, at interior pixels.
bool smooth3x3(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* destination);

/// 5-tap smoothing along columns (rows 2 to rows - 3) and along rows (columns 2 to cols - 3), truncating.
bool filterColumn5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                     std::uint8_t* destination);
bool filterRow5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                  std::uint8_t* destination);

/// Takes the border off a rows x cols image.
bool cropBorder(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                std::uint8_t* destination);

/// Border 2, columns, rows, crop: smooths grey in place with two buffers of (rows + 4) x (cols + 4).
void smoothGrey(std::uint8_t* grey, std::int32_t rows, std::int32_t cols, std::uint8_t* paddedA,
                std::uint8_t* paddedB);

/// Sum of absolute differences divided by the number of pixels, truncating.
std::int64_t meanAbsoluteDifference(const std::uint8_t* a, const std::uint8_t* b, std::int64_t pixels);

}  // namespace brantel
