// Bands at the edges of images: clearing, padding and cropping columns, and the zero-sum row filter.
#pragma once

#include <cstdint>

#include "common/log.h"

namespace brantel {

// All return false for a null image: the first four with "corresRowAllColZero ptr is null", the others with
// "ptr is NULL".

/// Sets columns [colStart, colEnd) of every row to 0.
bool zeroColumnBand8(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                     std::int32_t colStart, std::int32_t colEnd);
bool zeroColumnBandF(const Log& log, float* image, std::int32_t rows, std::int32_t cols,
                     std::int32_t colStart, std::int32_t colEnd);

/// Sets rows [rowStart, rowEnd) to 0; the row count is not needed.
bool zeroRowBand8(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                  std::int32_t rowStart, std::int32_t rowEnd);
bool zeroRowBandF(const Log& log, float* image, std::int32_t rows, std::int32_t cols, std::int32_t rowStart,
                  std::int32_t rowEnd);

/// Clears the first and last column and row of a mask. False, with the line of the bands, without one.
bool clearMaskEdge(const Log& log, float* mask, std::int32_t rows, std::int32_t cols);

/// Pads border columns on both sides (destination: cols + 2 * border). The left side mirrors without
/// repeating the edge; the right side holds the same columns in ascending order, deliberately (quirk 47): for a border
/// above 1 it is a shifted copy, not a mirror.
bool padColumnsMirror(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                      std::int32_t border, std::uint8_t* destination);

/// 9-tap row filter -1 -2 -1 2 4 2 -1 -2 -1 modulo 256 (it wraps, quirk 48); 4 columns on each side are
/// not written. The fourth argument is not used.
bool filterRowZeroSum9(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                       std::int32_t unused, std::uint8_t* destination);

/// Takes border columns off both sides (destination: cols - 2 * border).
bool cropColumns(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                 std::int32_t border, std::uint8_t* destination);

}  // namespace brantel
