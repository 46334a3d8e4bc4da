// Distance maps in rows of floats, for the roads whose masks and weights are computed elsewhere.
#pragma once

#include <cstdint>

#include "compose/seam_distances.h"

namespace brantel {

/// chamferDistance along the wavefront: the same floats, an order of magnitude faster. Keeps its memory from
/// frame to frame.
class DistanceMap {
  public:
    /// @param mask  rows x cols values, becomes the distances; fast when all values are 0 or 255
    void transform(float* mask, std::int32_t rows, std::int32_t cols);

  private:
    bool findEmpty(const float* mask, std::int32_t rows, std::int32_t cols);
    void writeBlock(std::int64_t block, float* mask, std::int32_t rows, std::int32_t cols) const;

    OccupancyImage occupied_;
    SeamDistances distances_;
};

}  // namespace brantel
