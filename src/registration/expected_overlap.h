// The part of a frame that the other frame overlaps under an expected shift.
#pragma once

#include <cstdint>

#include "common/types.h"
#include "registration/features.h"

namespace brantel {

/// Rows and columns of a frame; the origin is what corners found in them must be moved by.
struct ExpectedOverlap {
    std::int32_t rowStart;
    std::int32_t rowEnd;
    std::int32_t colStart;
    std::int32_t colEnd;

    ImageDesc size() const { return {0, 1, rowEnd - rowStart, colEnd - colStart}; }
};

/// The row rule depends on the sign of x as well as of y (for x < 0 a negative y keeps the previous frame's
/// bottom rows, for x >= 0 its top rows), deliberately (quirk 4). A shift beyond the frame gives an empty range.
ExpectedOverlap expectedOverlap(FrameRole role, const ExpectedShift& shift, std::int32_t rows,
                                std::int32_t cols);

}  // namespace brantel
