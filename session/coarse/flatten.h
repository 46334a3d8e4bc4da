// A coarse picture without the brightness of its surroundings.
#pragma once

#include <cstdint>
#include <vector>

namespace brantel::session {

/// The picture without its surface of second order and without what a box blur, done twice, leaves of it; clipped
/// at twice its root mean square and scaled to -127 to 127. Vignetting and shading go, and no speck outweighs
/// the rest. A picture without any contrast gives zeros.
void flatten(const std::vector<std::int32_t>& picture, std::int32_t rows, std::int32_t cols,
             std::vector<std::int8_t>& flat);

}  // namespace brantel::session
