// Rectangles of a map.
#pragma once

#include <algorithm>
#include <cstdint>

#include "common/types.h"

namespace brantel::session {

/// Columns [x, x + width) and rows [y, y + height) in a map's coordinates; empty without width or height.
struct Rectangle {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    std::int32_t right() const { return x + width; }
    std::int32_t bottom() const { return y + height; }
    Rectangle moved(CornerPoint by) const { return {x + by.x, y + by.y, width, height}; }
};

/// The smallest rectangle that holds both.
inline Rectangle united(const Rectangle& a, const Rectangle& b) {
    if (a.isEmpty()) return b;
    if (b.isEmpty()) return a;
    const std::int32_t x = std::min(a.x, b.x);
    const std::int32_t y = std::min(a.y, b.y);
    return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

}  // namespace brantel::session
