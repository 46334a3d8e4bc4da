// Padding and the separable 5-tap filter on float images, row-major without gaps.
#pragma once

#include <cstdint>

namespace brantel {

// All return false and log "ptr is NULL" for a null image; images too small for a step are left alone.

/// Copies image (rows x cols) into both padded images ((rows + 4) x (cols + 4)) with a border of 2 that
/// mirrors without repeating the edge. Needs more than 2 rows and columns.
bool padReflect2(const float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB);

/// Filters along columns: writes rows 2 to rows - 3 of the output.
bool filterColumn5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                   float* output);

/// Filters along rows: writes columns 2 to cols - 3 of the output.
bool filterRow5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols, float* output);

/// Takes the border of 2 off again; rows and cols are the padded ones.
bool cropPadding2(const float* input, std::int32_t rows, std::int32_t cols, float* output);

/// Smooths an image in place with the response kernel: pad, columns, rows, crop.
void smoothProduct(float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB);

}  // namespace brantel
