// Thinning and spreading of corners: everything sorted, every corner compared with every other.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"

namespace brantel::reference {

/// Sorts keys low to high (inclusive) in descending order and moves the indices along.
void quickSortDescending(std::vector<float>& keys, std::vector<std::int32_t>& indices, std::int32_t low,
                         std::int32_t high);

/// Cuts values and points down to the cap strongest responses. False, with a line, when a list is empty.
bool goToGetRidOfSomeSPoints(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                             std::int32_t budget, std::int32_t cap, std::int32_t reductionFactor,
                             std::int32_t densityLevel, std::int32_t* count);

/// Appends the count corners that lie farthest from any that is c times stronger. False when nothing was kept, with a
/// line when a list is empty.
bool selectSpreadCorners(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                         std::int32_t count, std::int32_t scale, float c, std::vector<CornerPoint>& out);

}  // namespace brantel::reference
