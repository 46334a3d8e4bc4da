// The strip of a frame that the other frame overlaps under an expected shift, as the GPU backends cut it.
#pragma once

#include <cstdint>

#include "common/types.h"

namespace brantel {

struct Strip {
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t rowOffset;
    std::int32_t colOffset;
    CornerPoint shift;  // what the strip's corners are moved by
};

/// By the signs of dx and dy. Where the strip starts and what its corners are moved by do not correspond in
/// every case, and one case is not moved at all, deliberately. A shift beyond the frame leaves no rows or
/// columns.
Strip overlapStrip(std::int32_t dx, std::int32_t dy, std::int32_t rows, std::int32_t cols);

}  // namespace brantel
