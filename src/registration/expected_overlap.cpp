#include "registration/expected_overlap.h"

#include <algorithm>
#include <cstdlib>

namespace brantel {

namespace {

/// |shift|, at most length.
std::int32_t magnitude(std::int32_t shift, std::int32_t length) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(shift), length));
}

}  // namespace

ExpectedOverlap expectedOverlap(FrameRole role, const ExpectedShift& shift, std::int32_t rows,
                                std::int32_t cols) {
    const std::int32_t dx = magnitude(shift.x, cols);
    const std::int32_t dy = magnitude(shift.y, rows);
    const bool previous = role == FrameRole::previous;
    const bool rightColumns = (shift.x >= 0) == previous;
    const bool bottomRows = ((shift.x < 0) == (shift.y < 0)) == previous;
    return {bottomRows ? dy : 0, bottomRows ? rows : rows - dy, rightColumns ? dx : 0,
            rightColumns ? cols : cols - dx};
}

}  // namespace brantel
