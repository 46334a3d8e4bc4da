#include "reference/matching.h"

#include "registration/matching.h"

namespace brantel::reference {

namespace {

float squaredDistance(const std::uint16_t* a, const std::uint16_t* b, std::int32_t length) {
    float sum = 0;
    for (std::int32_t k = 0; k < length; ++k) {
        // unsigned: arbitrary 16-bit values wrap as a 32-bit product does
        const auto difference = static_cast<std::uint32_t>(std::int32_t{a[k]} - std::int32_t{b[k]});
        sum += static_cast<float>(static_cast<std::int32_t>(difference * difference));
    }
    return sum;
}

}  // namespace

bool calacDistanceIndexFun(const Log& log, const std::uint16_t* reference, const std::uint16_t* query,
                           float* distances, float ratio, std::int32_t referenceCount,
                           std::int32_t referenceStride, std::int32_t queryCount, std::int32_t length,
                           std::vector<Match>& matches) {
    if (reference == nullptr || query == nullptr) {
        log.streamLine("calacDistanceIndexFun ptr is null");
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
        findMinIndex(log, distances, referenceCount, &nearest, &farthest, &index);
        distances[index] = farthest;
        findMinIndex(log, distances, referenceCount, &second, &unused, &unusedIndex);
        if (ratio > nearest / second) matches.push_back({i, index});  // 0 / 0 is no match
    }
    return true;
}

}  // namespace brantel::reference
