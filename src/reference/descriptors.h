// Orientation histograms around corners, each gradient by its formula.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"

namespace brantel::reference {

/// Truncated length of a gradient.
std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy);

/// Which eighth of the circle a gradient points to.
std::int32_t gradientBin(std::int32_t gx, std::int32_t gy);

/// 25 cells of 4 x 4 pixels around each point, column by column, 8 bins each. frame is rows x cols with a zeroed row
/// behind it, scratch holds length values. Consumes the points; false, with a line, without a frame.
bool buildCornerDescriptors(const Log& log, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out);

}  // namespace brantel::reference
