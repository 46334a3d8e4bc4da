#include "registration/matching.h"

#include <algorithm>
#include <limits>

#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int32_t noMatch = -1;
constexpr std::uint16_t largestFastValue = 6400;  // what the integer distance takes
constexpr std::int32_t longestFastDescriptor = 256;
constexpr std::int64_t exactBelow = std::int64_t{1} << 24;  // whole numbers that single precision holds

/// The distance as it is defined: single precision, element by element.
float distanceInOrder(const std::uint16_t* a, const std::uint16_t* b, std::int32_t length) {
    float sum = 0;
    for (std::int32_t k = 0; k < length; ++k) {
        const std::int32_t difference = std::int32_t{a[k]} - std::int32_t{b[k]};
        // unsigned: arbitrary 16-bit values wrap as a 32-bit product does
        sum += static_cast<float>(static_cast<std::int32_t>(static_cast<std::uint32_t>(difference) *
                                                            static_cast<std::uint32_t>(difference)));
    }
    return sum;
}

struct Nearest {
    float first;
    float second;
    std::int32_t index;
};

class DescriptorSearch {
  public:
    DescriptorSearch(const Log& log, const std::uint16_t* reference, std::int32_t count, std::int32_t stride,
                     std::int32_t length)
        : log_(log), reference_(reference), count_(count), stride_(stride), length_(length) {}

    /// The definition: all distances, the minimum, and the minimum again with the first one's place taken by
    /// the maximum.
    Nearest byDefinition(const std::uint16_t* query, float* distances) const {
        for (std::int32_t j = 0; j < count_; ++j) distances[j] = distanceInOrder(query, at(j), length_);
        Nearest nearest{};
        float farthest = 0;
        float unused = 0;
        std::int32_t unusedIndex = 0;
        findMinIndex(log_, distances, count_, &nearest.first, &farthest, &nearest.index);
        distances[nearest.index] = farthest;
        findMinIndex(log_, distances, count_, &nearest.second, &unused, &unusedIndex);
        return nearest;
    }

    /// The same through whole numbers, for at least two references. Below 2^24 the float sums are exact.
    /// Above, they stay within 200 roundings (1.2e-5) of the whole number: only references whose whole sum
    /// comes within 6e-5 of the second smallest can be among the two nearest, and those are summed by
    /// definition.
    Nearest byIntegers(const std::uint16_t* query, float* sums) const {
        const auto distance = simd::kernels().squaredDistance;
        std::int64_t first = std::numeric_limits<std::int64_t>::max();
        std::int64_t second = first;
        std::int32_t index = 0;
        std::int64_t limit = first;
        for (std::int32_t j = 0; j < count_; ++j) {
            const std::int64_t sum = distance(query, at(j), length_, limit);
            sums[j] = static_cast<float>(sum);
            if (sum >= second) continue;
            if (sum < first) {
                second = first;
                first = sum;
                index = j;
            } else {
                second = sum;
            }
            if (second != std::numeric_limits<std::int64_t>::max()) limit = second + (second >> 14) + 2;
        }
        if (second < exactBelow) return {static_cast<float>(first), static_cast<float>(second), index};
        return amongCandidates(query, sums, static_cast<float>(limit));
    }

  private:
    const std::uint16_t* at(std::int32_t j) const { return reference_ + std::int64_t{j} * stride_; }

    Nearest amongCandidates(const std::uint16_t* query, const float* sums, float limit) const {
        constexpr float none = std::numeric_limits<float>::infinity();
        Nearest nearest{none, none, 0};
        for (std::int32_t j = 0; j < count_; ++j) {
            if (sums[j] > limit) continue;
            const float distance = distanceInOrder(query, at(j), length_);
            if (distance < nearest.first) {
                nearest = {distance, nearest.first, j};
            } else if (distance < nearest.second) {
                nearest.second = distance;
            }
        }
        return nearest;
    }

    const Log& log_;
    const std::uint16_t* reference_;
    std::int32_t count_;
    std::int32_t stride_;
    std::int32_t length_;
};

bool allBelow(const std::uint16_t* descriptors, std::int32_t count, std::int32_t stride,
              std::int32_t length) {
    std::uint16_t largest = 0;
    for (std::int32_t i = 0; i < count; ++i)
        for (std::int32_t k = 0; k < length; ++k)
            largest = std::max(largest, descriptors[std::int64_t{i} * stride + k]);
    return largest <= largestFastValue;
}

}  // namespace

bool findMinIndex(const Log& log, const float* values, std::int32_t count, float* minimum, float* maximum,
                  std::int32_t* index) {
    if (values == nullptr) {
        log.streamLine("findMinIndex ptr is null");
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

bool calacDistanceIndexFun(const Log& log, const std::uint16_t* reference, const std::uint16_t* query,
                           float* distances, float ratio, std::int32_t referenceCount,
                           std::int32_t referenceStride, std::int32_t queryCount, std::int32_t length,
                           std::vector<Match>& matches, WorkerPair* workers) {
    if (reference == nullptr || query == nullptr) {
        log.streamLine("calacDistanceIndexFun ptr is null");
        return false;
    }
    if (queryCount < 1 || referenceCount < 1) return true;
    const DescriptorSearch search(log, reference, referenceCount, referenceStride, length);
    const bool fast = referenceCount > 1 && length <= longestFastDescriptor &&
                      allBelow(reference, referenceCount, referenceStride, length) &&
                      allBelow(query, queryCount, length, length);
    const std::size_t before = matches.size();
    matches.resize(before + static_cast<std::size_t>(queryCount));
    Match* found = matches.data() + before;
    parallelFor(workers, queryCount, 16, [&](std::int64_t first, std::int64_t last, std::int32_t thread) {
        float* scratch = distances + std::int64_t{thread} * referenceCount;
        for (std::int64_t i = first; i < last; ++i) {
            const std::uint16_t* descriptor = query + i * length;
            const Nearest nearest =
                fast ? search.byIntegers(descriptor, scratch) : search.byDefinition(descriptor, scratch);
            const bool matched = ratio > nearest.first / nearest.second;  // 0 / 0 is no match
            found[i] = {static_cast<std::int32_t>(i), matched ? nearest.index : noMatch};
        }
    });
    matches.erase(std::remove_if(matches.begin() + static_cast<std::ptrdiff_t>(before), matches.end(),
                                 [](const Match& match) { return match.previous == noMatch; }),
                  matches.end());
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

}  // namespace brantel
