// Plain twins of registration/matching.h, documented there.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"

namespace brantel::plain {

bool findMinIndex(const float* values, std::int32_t count, float* minimum, float* maximum,
                  std::int32_t* index);

bool calacDistanceIndexFun(const std::uint16_t* reference, const std::uint16_t* query, float* distances,
                           float ratio, std::int32_t referenceCount, std::int32_t referenceStride,
                           std::int32_t queryCount, std::int32_t length, std::vector<Match>& matches);

bool gatherMatchedPoints(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                         std::vector<Match>& matches, std::vector<CornerPoint>& previousOut,
                         std::vector<CornerPoint>& currentOut);

}  // namespace brantel::plain
