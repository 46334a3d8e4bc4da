// Distance maps in rows of floats, for the roads whose masks and weights are computed elsewhere.
#pragma once

#include <cstdint>

#include "common/worker_pair.h"
#include "compose/seam_distances.h"

namespace brantel {

/// Distances to the nearest empty pixel, in place and along a wavefront: two passes with steps of 0.2 to the side and
/// 0.3 across, looking only left, up and up-left, then right, down and down-right (quirk 44: deliberately not the other two
/// diagonals). The outermost rows and columns are not visited; 255 stands for far away. Keeps its memory from frame to
/// frame.
class DistanceMap {
  public:
    /// @param mask     rows x cols values, each 0 or 255, becomes the distances
    /// @param workers  idle workers that help; may be null
    void transform(float* mask, std::int32_t rows, std::int32_t cols, WorkerPair* workers);

  private:
    void findEmpty(const float* mask, std::int64_t first, std::int64_t last, std::int32_t cols);
    void writeBlock(std::int64_t block, float* mask, std::int32_t rows, std::int32_t cols) const;

    OccupancyImage occupied_;
    SeamDistances distances_;
    Buffer<float> memory_;
};

}  // namespace brantel
