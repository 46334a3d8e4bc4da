// Distance maps along a wavefront hold the distances of the reference's two passes.
#include "compose/distance_map.h"

#include "compose/bands.h"
#include "reference/weights.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/rows.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Mask = std::vector<float>;

class DistanceMaps : public AtLevel {
  protected:
    void expectThoseOf(const Mask& before, std::int32_t rows, std::int32_t cols) {
        Mask expected = before;
        reference::chamferDistance(expected.data(), rows, cols);
        for (WorkerPair* workers : {static_cast<WorkerPair*>(nullptr), idle_.pair()}) {
            const auto mask = placed(before, places[(rows + cols) % 6]);
            map_.transform(mask->data(), rows, cols, workers);
            ASSERT_EQ(valuesOf(*mask), expected) << rows << " x " << cols;
            ASSERT_TRUE(mask->intact());
        }
    }

  private:
    IdleWorkers idle_;
    DistanceMap map_;  // one over all sizes, as an engine keeps it
};

/// Occupied with empty patches, as a canvas cut is.
Mask patchyMask(std::int32_t rows, std::int32_t cols, Random& random) {
    Mask mask(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), 255.0F);
    for (int patch = 0; patch < 4; ++patch) {
        const std::int32_t r0 = random.between(0, rows);
        const std::int32_t c0 = random.between(0, cols);
        for (std::int32_t r = r0; r < std::min(rows, r0 + rows / 3); ++r)
            for (std::int32_t c = c0; c < std::min(cols, c0 + cols / 3); ++c) mask[r * cols + c] = 0;
    }
    return mask;
}

TEST_P(DistanceMaps, OfPatchyMasksOfAllSizes) {
    Random random(3);
    for (const auto& [rows, cols] : {std::pair{1, 1},
                                     {1, 9},
                                     {2, 2},
                                     {3, 3},
                                     {5, 40},
                                     {40, 5},
                                     {33, 47},
                                     {64, 64},
                                     {20, 131},
                                     {131, 157}})
        for (int i = 0; i < 5; ++i) {
            Mask mask = patchyMask(rows, cols, random);
            expectThoseOf(mask, rows, cols);
            clearMaskEdge(toOutput(), mask.data(), rows, cols);
            expectThoseOf(mask, rows, cols);
        }
}

TEST_P(DistanceMaps, OfSparseMasks) {
    Random random(4);
    for (const std::int32_t emptyInThousand : {0, 1, 20, 500, 980, 1000})
        for (const auto& [rows, cols] : {std::pair{131, 157}, {61, 83}}) {
            Mask mask(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
            for (float& value : mask) value = random.between(1, 1000) <= emptyInThousand ? 0.0F : 255.0F;
            expectThoseOf(mask, rows, cols);
        }
}

BRANTEL_AT_EVERY_LEVEL(DistanceMaps);

}  // namespace
}  // namespace brantel::test
