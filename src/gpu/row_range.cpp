#include "gpu/row_range.h"

#include <algorithm>
#include <cstdlib>

namespace brantel {

RowRange rowRangeFor(const ExpectedShift& shift, std::int32_t rows, std::int32_t cols) {
    const auto x = static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(shift.x), cols));
    const auto y = static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(shift.y), rows));
    RowRange range{rows - y, cols - x, 0, 0, {0, 0}};
    if (shift.x < 0) {
        range.colOffset = x;
        if (shift.y < 0) {
            range.shift.x = x;
        } else {
            range.rowOffset = y;
        }
    } else if (shift.y < 0) {
        range.rowOffset = y;
        range.shift.y = y;
    } else {
        range.shift = {x, y};
    }
    return range;
}

}  // namespace brantel
