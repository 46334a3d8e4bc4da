// Thinning with a partial sort and a grid against sorting everything and comparing every corner with every
// other.
#include "registration/thinning.h"

#include <algorithm>
#include <functional>

#include "plain/thinning.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;
using Points = std::vector<CornerPoint>;

struct Corners {
    Floats values;
    Points points;
};

/// kinds is how many different responses there are: few of them make many ties.
Corners someCorners(std::int32_t count, std::int32_t kinds, CornerPoint low, CornerPoint high,
                    std::uint64_t seed) {
    Random random(seed);
    Corners corners;
    for (std::int32_t i = 0; i < count; ++i) {
        corners.values.push_back(static_cast<float>(random.between(1, kinds)) * 1.37F);
        corners.points.push_back({random.between(low.x, high.x), random.between(low.y, high.y)});
    }
    return corners;
}

class Thinning : public testing::Test {
  protected:
    /// Both steps, as detection takes them.
    void expectPlainThinning(const Corners& corners, std::int32_t budget, std::int32_t cap, float c = 0.5F,
                             std::int32_t scale = 2) {
        Corners found = corners;
        Corners expected = corners;
        std::int32_t counts[2] = {-5, -5};
        EXPECT_EQ(
            goToGetRidOfSomeSPoints(found.values, found.points, budget, cap, 1, 1, &counts[0], scratch_),
            plain::goToGetRidOfSomeSPoints(expected.values, expected.points, budget, cap, 1, 1, &counts[1]));
        EXPECT_EQ(counts[0], counts[1]);
        EXPECT_EQ(found.values, expected.values);
        EXPECT_TRUE(found.points == expected.points);

        Points spread{{1, 2}};
        Points plainSpread{{1, 2}};
        EXPECT_EQ(selectSpreadCorners(found.values, found.points,
                                      std::min<std::int32_t>(counts[0], found.points.size()), scale, c,
                                      spread, scratch_),
                  plain::selectSpreadCorners(expected.values, expected.points,
                                             std::min<std::int32_t>(counts[1], expected.points.size()), scale,
                                             c, plainSpread));
        EXPECT_TRUE(spread == plainSpread);
        EXPECT_TRUE(found.values.empty() && found.points.empty());
    }

    ThinningScratch scratch_;
};

TEST_F(Thinning, OfCornersWithManyTies) {
    std::uint64_t seed = 1;
    for (const std::int32_t count : {1, 2, 3, 10, 99, 100, 101, 150, 400, 1200})
        for (const std::int32_t kinds : {1, 2, 5, 60, 100000})
            for (const std::int32_t side : {5, 60, 700, 3000})
                for (const std::int32_t budget : {count / 4, count}) {
                    const Corners corners = someCorners(count, kinds, {0, 0}, {side, side / 2}, seed++);
                    expectPlainThinning(corners, budget, count / 2);  // more than the cap
                    expectPlainThinning(corners, budget, count);      // as many
                    expectPlainThinning(corners, budget, 7 * count);  // less
                    ASSERT_FALSE(HasFailure()) << count << " corners, " << kinds << " kinds, side " << side;
                }
}

TEST_F(Thinning, OfSeveralThousandCorners) {
    for (const std::int32_t kinds : {3, 1000, 1000000}) {
        const Corners corners = someCorners(6000, kinds, {20, 20}, {1300, 1000}, kinds);
        expectPlainThinning(corners, 162, 1134);
        expectPlainThinning(corners, 4000, 5500);
        expectPlainThinning(corners, 6000, 9000);
    }
}

TEST_F(Thinning, OfSortedCorners) {
    for (const std::int32_t count : {50, 500, 2500}) {
        Corners corners = someCorners(count, 400, {0, 0}, {800, 600}, count);
        std::sort(corners.values.begin(), corners.values.end());
        expectPlainThinning(corners, count / 3, count / 2);
        expectPlainThinning(corners, count / 3, 2 * count);
        std::sort(corners.values.begin(), corners.values.end(), std::greater<>());
        expectPlainThinning(corners, count / 3, count / 2);
        expectPlainThinning(corners, count / 3, 2 * count);
    }
}

TEST_F(Thinning, OfClusteredCornersFarApart) {
    Random random(7);
    for (const std::int32_t distance : {16, 255, 256, 257, 1000, 29000}) {
        Corners corners;
        for (std::int32_t i = 0; i < 600; ++i) {
            const std::int32_t cluster = random.between(0, 1);
            corners.values.push_back(static_cast<float>(random.between(1, 3) << (4 * cluster)));
            corners.points.push_back({cluster * distance + random.between(0, 3), random.between(0, 3)});
        }
        expectPlainThinning(corners, 100, 1000);
    }
}

TEST_F(Thinning, OfCornersWhoseDistancesWrap) {
    std::uint64_t seed = 1;
    // negative ones, and so far apart that a squared distance does not fit 32 bits
    const CornerPoint ranges[][2] = {{{-50, -50}, {50, 50}},
                                     {{-1, 0}, {300, 200}},
                                     {{0, 0}, {30001, 10}},
                                     {{29990, 29990}, {30010, 30010}},
                                     {{-1000000, -1000000}, {1000000, 1000000}},
                                     {{0, 65530}, {65540, 65536}}};
    for (const auto& [low, high] : ranges)
        for (const std::int32_t count : {2, 90, 700})
            expectPlainThinning(someCorners(count, 40, low, high, seed++), count / 2, count);
}

TEST_F(Thinning, WithOtherFactorsAndScales) {
    for (const float c : {0.1F, 0.5F, 0.9F, 1.0F, 1.5F})
        for (const std::int32_t scale : {1, 2, 3})
            expectPlainThinning(someCorners(300, 20, {0, 0}, {400, 300}, scale), 80, 250, c, scale);
}

TEST_F(Thinning, QuickSortLeavesEqualKeysWhereThePlainOneDoes) {
    Random random(9);
    for (int i = 0; i < 300; ++i) {
        const std::int32_t count = random.between(1, 200);
        Floats keys;
        std::vector<std::int32_t> indices;
        for (std::int32_t k = 0; k < count; ++k) {
            keys.push_back(static_cast<float>(random.between(0, 9)));
            indices.push_back(k);
        }
        Floats plainKeys = keys;
        std::vector<std::int32_t> plainIndices = indices;
        const std::int32_t low = random.between(0, count - 1);
        const std::int32_t high = random.between(low, count - 1);
        quickSortDescending(keys, indices, low, high);
        plain::quickSortDescending(plainKeys, plainIndices, low, high);
        ASSERT_EQ(keys, plainKeys);
        ASSERT_EQ(indices, plainIndices);
    }
}

}  // namespace
}  // namespace brantel::test
