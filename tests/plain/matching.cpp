#include "plain/matching.h"

namespace brantel::plain {

namespace {

float squaredDistance(const std::uint16_t* a, const std::uint16_t* b, std::int32_t length) {
    float sum = 0;
    for (std::int32_t k = 0; k < length; ++k) {
        const std::int32_t difference = std::int32_t{a[k]} - std::int32_t{b[k]};
        // unsigned: arbitrary 16-bit values wrap as a 32-bit product does
        sum += static_cast<float>(static_cast<std::int32_t>(static_cast<std::uint32_t>(difference) *
                                                            static_cast<std::uint32_t>(difference)));
    }
    return sum;
}

}  // namespace

bool findMinIndex(const float* values, std::int32_t count, float* minimum, float* maximum,
                  std::int32_t* index) {
    if (values == nullptr) {
        return false;
    }
    *minimum = *maximum = values[0];
    *index = 0;
    for (std::int32_t k = 1; k < count; ++k) {
        if (values[k] < *minimum) {
            *minimum = values[k];
            *index = k;
        }
        if (values[k] > *maximum) *maximum = values[k];
    }
    return true;
}

bool calacDistanceIndexFun(const std::uint16_t* reference, const std::uint16_t* query, float* distances,
                           float ratio, std::int32_t referenceCount, std::int32_t referenceStride,
                           std::int32_t queryCount, std::int32_t length, std::vector<Match>& matches) {
    if (reference == nullptr || query == nullptr) {
        return false;
    }
    if (queryCount < 1 || referenceCount < 1) return true;
    for (std::int32_t i = 0; i < queryCount; ++i) {
        for (std::int32_t j = 0; j < referenceCount; ++j)
            distances[j] = squaredDistance(query + std::int64_t{i} * length,
                                           reference + std::int64_t{j} * referenceStride, length);
        float nearest = 0;
        float second = 0;
        float farthest = 0;
        float unused = 0;
        std::int32_t index = 0;
        std::int32_t unusedIndex = 0;
        findMinIndex(distances, referenceCount, &nearest, &farthest, &index);
        distances[index] = farthest;
        findMinIndex(distances, referenceCount, &second, &unused, &unusedIndex);
        if (ratio > nearest / second) matches.push_back({i, index});  // 0 / 0 is no match
    }
    return true;
}

bool gatherMatchedPoints(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                         std::vector<Match>& matches, std::vector<CornerPoint>& previousOut,
                         std::vector<CornerPoint>& currentOut) {
    for (const Match& match : matches) {
        previousOut.push_back(previous.at(static_cast<std::size_t>(match.previous)));
        currentOut.push_back(current.at(static_cast<std::size_t>(match.current)));
    }
    previous.clear();
    current.clear();
    matches.clear();
    return true;
}

}  // namespace brantel::plain
