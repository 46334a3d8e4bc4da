// The small records that all stages pass on.
#pragma once

#include <cstdint>

namespace brantel {

/// A corner in pixels; full-frame coordinates once detection hands it on.
struct CornerPoint {
    std::int32_t x;  // column
    std::int32_t y;  // row
};

inline bool operator==(const CornerPoint& a, const CornerPoint& b) {
    return a.x == b.x && a.y == b.y;
}

/// Describes a packed frame buffer.
struct ImageDesc {
    std::int32_t reserved;  // left 0
    std::int32_t channels;
    std::int32_t rows;
    std::int32_t cols;

    std::int64_t pixels() const { return std::int64_t{rows} * cols; }
    std::int64_t bytes() const { return pixels() * channels; }
};

/// Indices of two corners whose descriptors agree.
struct Match {
    std::int32_t current;
    std::int32_t previous;
};

/// previous position - current position, whole pixels of the full-size frame.
struct Offset {
    std::int32_t x;
    std::int32_t y;
};

/// The shift a host expects, and whether it is to be used.
struct ExpectedShift {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool use = false;
};

inline bool sameShift(const ExpectedShift& a, const ExpectedShift& b) {
    return a.use == b.use && (!a.use || (a.x == b.x && a.y == b.y));
}

}  // namespace brantel
