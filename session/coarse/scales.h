// At which sizes frames are compared.
#pragma once

#include <cstdint>

namespace brantel::session {

/// The sizes of a picture that is reduced by a whole factor. Pixels beside the last whole cell are left out;
/// a side shorter than the factor makes one cell.
struct Level {
    std::int32_t factor = 1;  // full-size pixels per pixel
    std::int32_t rows = 1;
    std::int32_t cols = 1;

    std::int64_t pixels() const { return std::int64_t{rows} * cols; }
};

/// What follows from the frames' size.
struct Scales {
    std::int32_t rows = 1;
    std::int32_t cols = 1;
    Level
        finest;  // where the shift is measured: full size, or what keeps it within reach of the middle level
    Level middle;  // where places are told apart
    Level coarse;  // where all shifts are tried; its factor is a multiple of the middle one's

    static Scales of(std::int32_t rows, std::int32_t cols);
};

}  // namespace brantel::session
