#include "gpu/strip.h"

#include <algorithm>
#include <cstdlib>

namespace brantel {

Strip overlapStrip(std::int32_t dx, std::int32_t dy, std::int32_t rows, std::int32_t cols) {
    const auto x = static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(dx), cols));
    const auto y = static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(dy), rows));
    Strip strip{rows - y, cols - x, 0, 0, {0, 0}};
    if (dx < 0) {
        strip.colOffset = x;
        if (dy < 0) {
            strip.shift.x = x;
        } else {
            strip.rowOffset = y;
        }
    } else if (dy < 0) {
        strip.rowOffset = y;
        strip.shift.y = y;
    } else {
        strip.shift = {x, y};
    }
    return strip;
}

}  // namespace brantel
