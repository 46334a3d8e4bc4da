// Thins the local maxima of a frame to the corners that are handed on: the strongest, then the best spread.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"

namespace brantel {

/// Where corners lie, for asking after the nearest one.
class NeighbourGrid {
  public:
    /// Empties the grid for points with coordinates 0 to largestX and largestY.
    void start(std::int32_t largestX, std::int32_t largestY, std::size_t points);
    void insert(const CornerPoint& point);
    /// Squared distance to the nearest inserted point, at most cap.
    std::int32_t nearest(const CornerPoint& point, std::int32_t cap) const;

  private:
    struct Entry {
        CornerPoint point;
        std::int32_t next;
    };
    std::int32_t nearestInCell(std::int32_t cellX, std::int32_t cellY, const CornerPoint& point,
                               std::int32_t best) const;

    std::vector<std::int32_t> heads_;
    std::vector<Entry> entries_;
    std::int32_t cellsX_ = 0;
    std::int32_t cellsY_ = 0;
};

/// What thinning keeps between frames.
struct ThinningScratch {
    std::vector<float> keys;
    std::vector<std::int32_t> order;
    std::vector<float> values;
    std::vector<CornerPoint> points;
    std::vector<std::int32_t> byValue;
    NeighbourGrid grid;
};

/// Cuts values and points down to the cap strongest responses, strongest first (untouched when there are no
/// more than cap). *count = min(number of values before, budget): how many the spreading step is to keep.
/// False, with "goToGetRidOfSomeSPoints CornervalueIn size is 0", when a list is empty; count is left alone.
/// reductionFactor and densityLevel are part of the call but have no influence (quirk 29).
bool goToGetRidOfSomeSPoints(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                             std::int32_t budget, std::int32_t cap, std::int32_t reductionFactor,
                             std::int32_t densityLevel, std::int32_t* count, ThinningScratch& scratch);

/// Appends the count corners that lie farthest from any clearly stronger one (c times stronger), scaled by
/// scale, in order of decreasing distance. With fewer than count points, out becomes a copy of them,
/// unscaled (quirk 27). Empties values and points. False when nothing was kept.
bool selectSpreadCorners(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                         std::int32_t count, std::int32_t scale, float c, std::vector<CornerPoint>& out,
                         ThinningScratch& scratch);

}  // namespace brantel
