#include "registration/thinning.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace brantel {

namespace {

constexpr const char* emptyLine = "goToGetRidOfSomeSPoints CornervalueIn size is 0";
constexpr std::int32_t noNeighbour = 65535;  // cap of the squared distances, also the radius of the strongest
constexpr std::int32_t cellBits = 4;         // grid cells of 16 x 16 pixels
constexpr std::size_t fewEntries = 100;      // so few are faster compared one by one

/// Hole-filling partition around the first element; no step is taken after a move. Where equal keys end
/// decides which corners survive, so it must stay exactly as it is (quirk 23).
std::int32_t partitionDescending(std::vector<float>& keys, std::vector<std::int32_t>& indices,
                                 std::int32_t low, std::int32_t high) {
    const float pivot = keys[low];
    const std::int32_t pivotIndex = indices[low];
    while (low < high) {
        while (low < high && pivot >= keys[high]) --high;
        keys[low] = keys[high];
        indices[low] = indices[high];
        while (low < high && keys[low] >= pivot) ++low;
        keys[high] = keys[low];
        indices[high] = indices[low];
    }
    keys[low] = pivot;
    indices[low] = pivotIndex;
    return low;
}

/// Sorts as far as the first needed places go; what would only end up behind them stays unsorted. The halves
/// are independent, so the smaller one may go first: that bounds the stack on sorted input.
void sortFront(std::vector<float>& keys, std::vector<std::int32_t>& indices, std::int32_t low,
               std::int32_t high, std::int32_t needed) {
    while (low < high && low < needed) {
        const std::int32_t middle = partitionDescending(keys, indices, low, high);
        if (middle - low < high - middle) {
            sortFront(keys, indices, low, middle - 1, needed);
            low = middle + 1;
        } else {
            sortFront(keys, indices, middle + 1, high, needed);
            high = middle - 1;
        }
    }
}

void countUp(std::vector<std::int32_t>& indices, std::size_t count) {
    indices.resize(count);
    std::iota(indices.begin(), indices.end(), 0);
}

/// Squared distance in wrapping 32-bit arithmetic.
std::int32_t squaredDistance(const CornerPoint& a, const CornerPoint& b) {
    const auto dx = static_cast<std::uint32_t>(a.x) - static_cast<std::uint32_t>(b.x);
    const auto dy = static_cast<std::uint32_t>(a.y) - static_cast<std::uint32_t>(b.y);
    return static_cast<std::int32_t>(dy * dy + dx * dx);
}

/// Largest coordinates, or a negative one when the distances of these points could wrap.
CornerPoint extentOf(const std::vector<CornerPoint>& points) {
    constexpr std::int32_t limit = 30000;
    CornerPoint extent{0, 0};
    for (const CornerPoint& point : points) {
        if (point.x < 0 || point.y < 0 || point.x > limit || point.y > limit) return {-1, -1};
        extent = {std::max(extent.x, point.x), std::max(extent.y, point.y)};
    }
    return extent;
}

/// Squared distance from each corner to the nearest one whose response is more than 1 / c times its own, as
/// it is written: every corner against every other.
void radiiByComparison(const std::vector<float>& values, const std::vector<CornerPoint>& points,
                       float threshold, float c, std::vector<float>& radii) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::int32_t radius = noNeighbour;
        for (std::size_t j = 0; j < values.size() && values[i] <= threshold; ++j)
            if (c * values[j] > values[i]) radius = std::min(radius, squaredDistance(points[j], points[i]));
        radii[i] = static_cast<float>(radius);
    }
}

/// The same from the strongest to the weakest: those that are clearly stronger are in the grid by then.
void radiiByGrid(const std::vector<float>& values, const std::vector<CornerPoint>& points, float threshold,
                 float c, std::vector<float>& radii, const CornerPoint& extent, ThinningScratch& scratch) {
    std::vector<std::int32_t>& byValue = scratch.byValue;
    countUp(byValue, values.size());
    if (!std::is_sorted(values.begin(), values.end(), std::greater<>()))
        std::sort(byValue.begin(), byValue.end(),
                  [&values](std::int32_t a, std::int32_t b) { return values[a] > values[b]; });
    scratch.grid.start(extent.x, extent.y, points.size());
    std::size_t inserted = 0;
    for (const std::int32_t i : byValue) {
        while (inserted < byValue.size() && c * values[byValue[inserted]] > values[i])
            scratch.grid.insert(points[byValue[inserted++]]);
        radii[i] = static_cast<float>(values[i] > threshold ? noNeighbour
                                                            : scratch.grid.nearest(points[i], noNeighbour));
    }
}

/// Leaves the indices of the corners by decreasing suppression radius in scratch.order, the first count of
/// them.
void orderBySpread(const std::vector<float>& values, const std::vector<CornerPoint>& points, float c,
                   std::int32_t count, ThinningScratch& scratch) {
    float strongest = 0;
    for (const float value : values) strongest = std::max(strongest, value);
    const float threshold = strongest * c;

    std::vector<float>& radii = scratch.keys;
    radii.resize(values.size());
    const CornerPoint extent = extentOf(points);
    if (extent.x < 0) {
        radiiByComparison(values, points, threshold, c, radii);
    } else {
        radiiByGrid(values, points, threshold, c, radii, extent, scratch);
    }
    countUp(scratch.order, values.size());
    sortFront(radii, scratch.order, 0, static_cast<std::int32_t>(radii.size()) - 1, count);
}

}  // namespace

void NeighbourGrid::start(std::int32_t largestX, std::int32_t largestY, std::size_t points) {
    cellsX_ = (largestX >> cellBits) + 1;
    cellsY_ = (largestY >> cellBits) + 1;
    heads_.assign(static_cast<std::size_t>(cellsX_) * static_cast<std::size_t>(cellsY_), -1);
    entries_.clear();
    entries_.reserve(points);
}

void NeighbourGrid::insert(const CornerPoint& point) {
    std::int32_t& head =
        heads_[static_cast<std::size_t>(point.y >> cellBits) * cellsX_ + (point.x >> cellBits)];
    entries_.push_back({point, head});
    head = static_cast<std::int32_t>(entries_.size()) - 1;
}

std::int32_t NeighbourGrid::nearestInCell(std::int32_t cellX, std::int32_t cellY, const CornerPoint& point,
                                          std::int32_t best) const {
    if (cellX < 0 || cellY < 0 || cellX >= cellsX_ || cellY >= cellsY_) return best;
    for (std::int32_t i = heads_[static_cast<std::size_t>(cellY) * cellsX_ + cellX]; i >= 0;
         i = entries_[i].next)
        best = std::min(best, squaredDistance(entries_[i].point, point));
    return best;
}

std::int32_t NeighbourGrid::nearest(const CornerPoint& point, std::int32_t cap) const {
    std::int32_t best = cap;
    if (entries_.size() <= fewEntries) {
        for (const Entry& entry : entries_) best = std::min(best, squaredDistance(entry.point, point));
        return best;
    }
    const std::int32_t x = point.x >> cellBits;
    const std::int32_t y = point.y >> cellBits;
    best = nearestInCell(x, y, point, best);
    for (std::int32_t ring = 1; ring <= std::max(cellsX_, cellsY_); ++ring) {
        const std::int32_t reach = ((ring - 1) << cellBits) + 1;  // no nearer point can lie in this ring
        if (std::int64_t{reach} * reach >= best) break;
        for (std::int32_t i = -ring; i <= ring; ++i) {
            best = nearestInCell(x + i, y - ring, point, best);
            best = nearestInCell(x + i, y + ring, point, best);
        }
        for (std::int32_t i = 1 - ring; i < ring; ++i) {
            best = nearestInCell(x - ring, y + i, point, best);
            best = nearestInCell(x + ring, y + i, point, best);
        }
    }
    return best;
}

bool goToGetRidOfSomeSPoints(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                             std::int32_t budget, std::int32_t cap, std::int32_t /*reductionFactor*/,
                             std::int32_t /*densityLevel*/, std::int32_t* count, ThinningScratch& scratch) {
    if (values.empty() || points.empty()) {
        log.streamLine(emptyLine);
        return false;
    }
    const auto found = static_cast<std::int32_t>(values.size());
    *count = std::min(found, budget);
    if (cap >= found) return true;

    const std::int32_t kept = std::max(cap, 0);
    scratch.keys = values;
    countUp(scratch.order, values.size());
    sortFront(scratch.keys, scratch.order, 0, found - 1, kept);

    scratch.values.clear();
    scratch.points.clear();
    for (std::int32_t k = 0; k < kept; ++k) {
        const auto index = static_cast<std::size_t>(scratch.order[k]);
        scratch.values.push_back(values.at(index));
        scratch.points.push_back(points.at(index));
    }
    values.swap(scratch.values);
    points.swap(scratch.points);
    return !values.empty();
}

bool selectSpreadCorners(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                         std::int32_t count, std::int32_t scale, float c, std::vector<CornerPoint>& out,
                         ThinningScratch& scratch) {
    if (values.empty() || points.empty()) {
        log.streamLine(emptyLine);
        values.clear();
        points.clear();
        return false;
    }
    if (static_cast<std::int64_t>(points.size()) < count) {
        out = points;  // unscaled: what is short of the request is handed on as it stands
    } else {
        orderBySpread(values, points, c, count, scratch);
        for (std::int32_t k = 0; k < count; ++k) {
            const auto index = static_cast<std::size_t>(scratch.order.at(static_cast<std::size_t>(k)));
            const CornerPoint& point = points.at(index);
            out.push_back(scale == 1 ? point : CornerPoint{point.x * scale, point.y * scale});
        }
    }
    values.clear();
    points.clear();
    return !out.empty();
}

}  // namespace brantel
