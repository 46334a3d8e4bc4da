#include "compose/distance_map.h"

namespace brantel {

using simd::seamLanes;

void DistanceMap::findEmpty(const float* mask, std::int32_t rows, std::int32_t cols) {
    for (std::int64_t r = 0; r < rows; ++r) {
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
    for (std::int64_t i = 0; i < lanes; ++i) {
        float* row = mask + (first + i) * cols + columns.first;
        const float* lane = skewed + i * seamLanes + i;  // row i, column 0
        for (std::int64_t x = 0; x < columns.length(); ++x) row[x] = lane[x * seamLanes];
    }
}

void DistanceMap::transform(float* mask, std::int32_t rows, std::int32_t cols) {
    if (rows < 3 || cols < 3) return;  // nothing but edges, which are not visited
    occupied_.ensure(rows, cols);
    memory_.ensure(SeamDistances::memoryFor(rows, cols));
    distances_.ensure(rows, cols, memory_.data());
    findEmpty(mask, rows, cols);
    distances_.compute(occupied_, false);
    for (std::int64_t block = 0; block < blockCount(rows); ++block)
        if (!distances_.isEmpty(block)) writeBlock(block, mask, rows, cols);
}

}  // namespace brantel
