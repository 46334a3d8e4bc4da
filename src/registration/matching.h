// Nearest / second-nearest matching of descriptors.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/parallel_for.h"
#include "common/types.h"

namespace brantel {

/// Minimum with its index and maximum of count values; ties keep the lowest index. A count below 2 gives the
/// first element. False, with "findMinIndex ptr is null", without values.
bool findMinIndex(const Log& log, const float* values, std::int32_t count, float* minimum, float* maximum,
                  std::int32_t* index);

/// For each query descriptor finds the nearest reference descriptor by the sum of squared differences (single
/// precision, element by element) and appends a match when ratio > nearest / second nearest.
/// @param distances  scratch of referenceCount floats, loopThreads times as many with workers
/// @param workers    idle workers that help; may be null
/// False, with "calacDistanceIndexFun ptr is null", without descriptors.
bool calacDistanceIndexFun(const Log& log, const std::uint16_t* reference, const std::uint16_t* query,
                           float* distances, float ratio, std::int32_t referenceCount,
                           std::int32_t referenceStride, std::int32_t queryCount, std::int32_t length,
                           std::vector<Match>& matches, WorkerPair* workers);

/// Turns matches into two parallel point lists. Consumes its inputs; an index outside its list throws
/// std::out_of_range.
bool gatherMatchedPoints(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                         std::vector<Match>& matches, std::vector<CornerPoint>& previousOut,
                         std::vector<CornerPoint>& currentOut);

}  // namespace brantel
