#include "engine/shift_limits.h"

#include <cstdlib>

namespace brantel {

namespace {

constexpr float lowestShift = 0.100000024F;  // 1 - 0.9 in single precision, slightly above a tenth
constexpr float highestShift = 0.9F;

}  // namespace

FrameShift frameShift(Offset offset, std::int32_t rows, std::int32_t cols) {
    const std::int32_t ax = std::abs(offset.x);
    const std::int32_t ay = std::abs(offset.y);
    const std::int32_t length = ax > ay ? ax : ay;
    const auto side = static_cast<float>(ax > ay ? cols : rows);
    const auto d = static_cast<float>(length);
    if (!(d > side * lowestShift)) return {length, ShiftSize::tooSmall};
    return {length, side * highestShift > d ? ShiftSize::fits : ShiftSize::tooLarge};
}

}  // namespace brantel
