// Padding, the separable 5-tap filters and cropping, on packed images of floats and of bytes.
#pragma once

#include <cstdint>

#include "common/log.h"

namespace brantel::reference {

// The functions that return a bool return false, with "ptr is NULL", for a null image; images too small for a step are
// left alone.

/// Copies image (rows x cols) into both padded images with a border on all sides that mirrors without repeating the
/// edge: of 2 pixels for floats, of any width for bytes. Needs more rows and columns than the border has.
bool padReflect2(const Log& log, const float* image, std::int32_t rows, std::int32_t cols, float* paddedA,
                 float* paddedB);
bool padReflect101(const Log& log, const std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                   std::int32_t border, std::uint8_t* paddedA, std::uint8_t* paddedB);

/// Filters along columns: writes rows 2 to rows - 3 of the output. Bytes are filtered by the kernel of the motion
/// measure and truncated.
bool filterColumn5(const Log& log, const float* input, const float* kernel, std::int32_t rows,
                   std::int32_t cols, float* output);
bool filterColumn5u8(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                     std::uint8_t* output);

/// The same along rows: writes columns 2 to cols - 3.
bool filterRow5(const Log& log, const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                float* output);
bool filterRow5u8(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                  std::uint8_t* output);

/// Takes the border off again; rows and cols are the padded ones.
bool cropPadding2(const Log& log, const float* input, std::int32_t rows, std::int32_t cols, float* output);
bool cropBorder(const Log& log, const std::uint8_t* input, std::int32_t rows, std::int32_t cols,
                std::int32_t border, std::uint8_t* output);

/// Smooths an image in place: pad, columns, rows, crop. A product of gradients by the response kernel, a grey image by
/// that of the motion measure. The padded images have (rows + 4) x (cols + 4) elements.
void smoothProduct(const Log& log, float* image, std::int32_t rows, std::int32_t cols, float* paddedA,
                   float* paddedB);
void smoothGrey(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                std::uint8_t* paddedA, std::uint8_t* paddedB);

}  // namespace brantel::reference
