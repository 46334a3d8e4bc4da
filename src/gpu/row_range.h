// The part of a frame that the other frame overlaps under an expected shift, as the GPU backends cut it.
#pragma once

#include <cstdint>

#include "common/types.h"

namespace brantel {

struct RowRange {
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t rowOffset;
    std::int32_t colOffset;
    CornerPoint shift;  // what the corners found in it are moved by
};

/// By the signs of the shift. Where the range starts and what its corners are moved by do not correspond in
/// every case, and one case is not moved at all, deliberately (quirk 54). A shift beyond the frame leaves no rows or
/// columns.
RowRange rowRangeFor(const ExpectedShift& shift, std::int32_t rows, std::int32_t cols);

}  // namespace brantel
