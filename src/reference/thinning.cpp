#include "reference/thinning.h"

#include <algorithm>
#include <numeric>

namespace brantel::reference {

namespace {

constexpr const char* emptyLine = "goToGetRidOfSomeSPoints CornervalueIn size is 0";
constexpr std::int32_t noNeighbour = 65535;  // cap of the squared distances, also the radius of the strongest

/// Hole-filling partition around the first element; no step is taken after a move.
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

/// The places of the keys by descending key.
std::vector<std::int32_t> descendingOrder(std::vector<float> keys) {
    std::vector<std::int32_t> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    quickSortDescending(keys, order, 0, static_cast<std::int32_t>(keys.size()) - 1);
    return order;
}

/// Squared distance in wrapping 32-bit arithmetic.
std::int32_t squaredDistance(const CornerPoint& a, const CornerPoint& b) {
    const auto dx = static_cast<std::uint32_t>(a.x) - static_cast<std::uint32_t>(b.x);
    const auto dy = static_cast<std::uint32_t>(a.y) - static_cast<std::uint32_t>(b.y);
    return static_cast<std::int32_t>(dy * dy + dx * dx);
}

/// Squared distance from each corner to the nearest one whose response is more than 1 / c times its own.
std::vector<float> suppressionRadii(const std::vector<float>& values, const std::vector<CornerPoint>& points,
                                    float c) {
    float strongest = 0;
    for (const float value : values) strongest = std::max(strongest, value);
    std::vector<float> radii;
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::int32_t radius = noNeighbour;
        for (std::size_t j = 0; j < values.size() && values[i] <= strongest * c; ++j)
            if (c * values[j] > values[i]) radius = std::min(radius, squaredDistance(points[j], points[i]));
        radii.push_back(static_cast<float>(radius));
    }
    return radii;
}

}  // namespace

void quickSortDescending(std::vector<float>& keys, std::vector<std::int32_t>& indices, std::int32_t low,
                         std::int32_t high) {
    // The halves are independent, so the smaller one may go first: that bounds the stack on sorted input.
    while (low < high) {
        const std::int32_t middle = partitionDescending(keys, indices, low, high);
        if (middle - low < high - middle) {
            quickSortDescending(keys, indices, low, middle - 1);
            low = middle + 1;
        } else {
            quickSortDescending(keys, indices, middle + 1, high);
            high = middle - 1;
        }
    }
}

bool goToGetRidOfSomeSPoints(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                             std::int32_t budget, std::int32_t cap, std::int32_t /*reductionFactor*/,
                             std::int32_t /*densityLevel*/, std::int32_t* count) {
    if (values.empty() || points.empty()) {
        log.streamLine(emptyLine);
        return false;
    }
    const auto found = static_cast<std::int32_t>(values.size());
    *count = std::min(found, budget);
    if (cap >= found) return true;

    std::vector<std::int32_t> order = descendingOrder(values);
    order.resize(static_cast<std::size_t>(std::max(cap, 0)));
    std::vector<float> strongest;
    std::vector<CornerPoint> strongestPoints;
    for (const std::int32_t index : order) {
        strongest.push_back(values[static_cast<std::size_t>(index)]);
        strongestPoints.push_back(points.at(static_cast<std::size_t>(index)));
    }
    values = strongest;
    points = strongestPoints;
    return !values.empty();
}

bool selectSpreadCorners(const Log& log, std::vector<float>& values, std::vector<CornerPoint>& points,
                         std::int32_t count, std::int32_t scale, float c, std::vector<CornerPoint>& out) {
    const bool anyEmpty = values.empty() || points.empty();
    if (anyEmpty) {
        log.streamLine(emptyLine);
    } else if (static_cast<std::int64_t>(points.size()) < count) {
        out = points;  // unscaled: what is short of the request is handed on as it stands
    } else {
        const std::vector<std::int32_t> order = descendingOrder(suppressionRadii(values, points, c));
        for (std::int32_t k = 0; k < count; ++k) {
            const CornerPoint& point =
                points.at(static_cast<std::size_t>(order.at(static_cast<std::size_t>(k))));
            out.push_back({point.x * scale, point.y * scale});
        }
    }
    values.clear();
    points.clear();
    return !anyEmpty && !out.empty();
}

}  // namespace brantel::reference
