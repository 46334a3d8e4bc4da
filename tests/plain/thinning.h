// Plain twins of registration/thinning.h, documented there.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"

namespace brantel::plain {

void quickSortDescending(std::vector<float>& keys, std::vector<std::int32_t>& indices, std::int32_t low,
                         std::int32_t high);

bool goToGetRidOfSomeSPoints(std::vector<float>& values, std::vector<CornerPoint>& points,
                             std::int32_t budget, std::int32_t cap, std::int32_t reductionFactor,
                             std::int32_t densityLevel, std::int32_t* count);

bool selectSpreadCorners(std::vector<float>& values, std::vector<CornerPoint>& points, std::int32_t count,
                         std::int32_t scale, float c, std::vector<CornerPoint>& out);

}  // namespace brantel::plain
