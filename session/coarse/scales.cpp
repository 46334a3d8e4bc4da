#include "coarse/scales.h"

#include <algorithm>

namespace brantel::session {

namespace {

// The longest sides in pixels: small enough for the time there is, large enough to tell textures apart.
constexpr std::int32_t middleSide = 420;
constexpr std::int32_t coarseSide = 108;
// A pixel of the middle level is at most so many pixels of the finest.
constexpr std::int32_t finestPerMiddle = 3;

std::int32_t nearestFactor(std::int32_t side, std::int32_t wanted) {
    return std::max(1, side / wanted + (side % wanted * 2 >= wanted ? 1 : 0));
}

}  // namespace

Scales Scales::of(std::int32_t rows, std::int32_t cols) {
    const auto level = [&](std::int32_t factor) {
        return Level{factor, std::max(1, rows / factor), std::max(1, cols / factor)};
    };
    Scales scales;
    scales.rows = rows;
    scales.cols = cols;
    scales.middle = level(nearestFactor(std::max(rows, cols), middleSide));
    const std::int32_t longest = std::max(scales.middle.rows, scales.middle.cols);
    scales.coarse = level(scales.middle.factor * nearestFactor(longest, coarseSide));
    scales.finest = level((scales.middle.factor + finestPerMiddle - 1) / finestPerMiddle);
    return scales;
}

}  // namespace brantel::session
