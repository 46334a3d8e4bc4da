#include "compose/distance_map.h"

#include "common/parallel_for.h"

namespace brantel {

using simd::seamLanes;

void DistanceMap::findEmpty(const float* mask, std::int64_t first, std::int64_t last, std::int32_t cols) {
    for (std::int64_t r = first; r < last; ++r) {
        const float* from = mask + r * cols;
        std::uint8_t* to = occupied_.row(r);
        std::uint8_t all = 255;
        for (std::int64_t x = 0; x < cols; ++x) {
            to[x] = from[x] != 0.0F ? 255 : 0;
            all &= to[x];
        }
        occupied_.describeRow(r, {0, cols}, all == 0);
    }
}

/// What is far away or empty already has its distance in the mask, and so has everything beside the columns.
void DistanceMap::writeBlock(std::int64_t block, float* mask, std::int32_t rows, std::int32_t cols) const {
    const ColumnSpan columns = distances_.columns(block);
    const std::int64_t first = 1 + block * seamLanes;
    const std::int64_t lanes = std::min(seamLanes, rows - 1 - first);
    const float* skewed = distances_.block(block);
    // Some columns of all rows at a time: what is read for one row is at hand for the next.
    for (std::int64_t x = 0; x < columns.length(); x += seamLanes) {
        const std::int64_t count = std::min(seamLanes, columns.length() - x);
        for (std::int64_t i = 0; i < lanes; ++i) {
            float* row = mask + (first + i) * cols + columns.first + x;
            const float* lane = skewed + (x + i) * seamLanes + i;  // row i, column x
            for (std::int64_t k = 0; k < count; ++k) row[k] = lane[k * seamLanes];
        }
    }
}

void DistanceMap::transform(float* mask, std::int32_t rows, std::int32_t cols, WorkerPair* workers) {
    if (rows < 3 || cols < 3) return;  // nothing but edges, which are not visited
    occupied_.ensure(rows, cols);
    memory_.ensure(SeamDistances::memoryFor(rows, cols));
    distances_.ensure(rows, cols, memory_.data());
    parallelFor(workers, rows, seamLanes, [&](std::int64_t first, std::int64_t last, std::int32_t) {
        findEmpty(mask, first, last, cols);
    });
    distances_.compute(occupied_, false);
    parallelFor(workers, blockCount(rows), 1, [&](std::int64_t block, std::int64_t, std::int32_t) {
        if (!distances_.isEmpty(block)) writeBlock(block, mask, rows, cols);
    });
}

}  // namespace brantel
