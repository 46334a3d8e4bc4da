// Nearest / second-nearest matching: every distance in single precision, element by element.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"

namespace brantel::reference {

/// Appends a match when ratio > nearest / second nearest. The second nearest is the minimum after the nearest one's
/// place has been taken by the maximum. distances is scratch of referenceCount floats. False, with a line, without
/// descriptors.
bool calacDistanceIndexFun(const Log& log, const std::uint16_t* reference, const std::uint16_t* query,
                           float* distances, float ratio, std::int32_t referenceCount,
                           std::int32_t referenceStride, std::int32_t queryCount, std::int32_t length,
                           std::vector<Match>& matches);

}  // namespace brantel::reference
