// The one grey conversion of all backends.
#pragma once

#include <cstdint>

namespace brantel {

/// Rounded luma of a blue, green, red pixel (ITU-R BT.601 weights in thousandths).
constexpr std::uint8_t greyOf(unsigned blue, unsigned green, unsigned red) {
    return static_cast<std::uint8_t>((blue * 114U + green * 587U + red * 299U + 500U) / 1000U);
}

}  // namespace brantel
