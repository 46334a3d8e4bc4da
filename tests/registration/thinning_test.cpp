// The strongest corners survive the first cut, the best spread ones the second.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "registration/thinning.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::Lines;
using test::listen;

const Lines emptyList{"goToGetRidOfSomeSPoints CornervalueIn size is 0"};

struct Corners {
    std::vector<float> values;
    std::vector<CornerPoint> points;
};

Corners randomCorners(std::size_t count, std::int32_t distinctValues, std::uint64_t seed) {
    test::Random random(seed);
    Corners corners;
    for (std::size_t i = 0; i < count; ++i) {
        corners.values.push_back(static_cast<float>(random.between(1, distinctValues)));
        corners.points.push_back({random.between(0, 500), random.between(0, 400)});
    }
    return corners;
}

std::vector<std::int32_t> sortedIndices(std::vector<float> keys) {
    std::vector<std::int32_t> indices(keys.size());
    std::iota(indices.begin(), indices.end(), 0);
    quickSortDescending(keys, indices, 0, static_cast<std::int32_t>(keys.size()) - 1);
    return indices;
}

TEST(Thinning, KeepsEverythingInPlaceUpToTheCap) {
    for (const std::size_t count : {1U, 5U, 21U}) {
        Corners corners = randomCorners(count, 100, count);
        const Corners before = corners;
        std::int32_t kept = -1;
        EXPECT_TRUE(goToGetRidOfSomeSPoints(corners.values, corners.points, 3, 21, 1, 1, &kept));
        EXPECT_EQ(kept, std::min<std::int32_t>(3, static_cast<std::int32_t>(count)));
        EXPECT_EQ(corners.values, before.values);
        EXPECT_EQ(corners.points, before.points);
    }
}

TEST(Thinning, KeepsExactlyTheCapStrongestFirst) {
    for (const std::int32_t distinct : {2, 10, 100000}) {
        Corners corners = randomCorners(300, distinct, 5);
        const Corners before = corners;
        const std::vector<std::int32_t> order = sortedIndices(before.values);
        std::int32_t kept = -1;
        EXPECT_TRUE(goToGetRidOfSomeSPoints(corners.values, corners.points, 10, 70, 1, 1, &kept));
        EXPECT_EQ(kept, 10);
        ASSERT_EQ(corners.values.size(), 70U);
        ASSERT_EQ(corners.points.size(), 70U);
        for (std::size_t k = 0; k < 70; ++k) {
            EXPECT_EQ(corners.values[k], before.values[order[k]]);
            EXPECT_EQ(corners.points[k], before.points[order[k]]);
        }
        EXPECT_TRUE(std::is_sorted(corners.values.rbegin(), corners.values.rend()));
    }
}

TEST(Thinning, OneCornerBeyondTheCapIsEnoughToSort) {
    Corners corners{{1, 2, 3, 4}, {{1, 1}, {2, 2}, {3, 3}, {4, 4}}};
    std::int32_t kept = -1;
    EXPECT_TRUE(goToGetRidOfSomeSPoints(corners.values, corners.points, 3, 3, 1, 1, &kept));
    EXPECT_EQ(corners.values, (std::vector<float>{4, 3, 2}));
    EXPECT_EQ(corners.points, (std::vector<CornerPoint>{{4, 4}, {3, 3}, {2, 2}}));
}

TEST(Thinning, ASingleMaximumStaysAndCountsOne) {
    Corners corners{{7}, {{30, 40}}};
    std::int32_t kept = -1;
    EXPECT_TRUE(goToGetRidOfSomeSPoints(corners.values, corners.points, 181, 1267, 1, 1, &kept));
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(corners.points, (std::vector<CornerPoint>{{30, 40}}));
}

TEST(Thinning, CountIsTakenBeforeTheCut) {
    Corners corners = randomCorners(10, 50, 3);
    std::int32_t kept = -1;
    EXPECT_TRUE(goToGetRidOfSomeSPoints(corners.values, corners.points, 8, 4, 1, 1, &kept));
    EXPECT_EQ(kept, 8);
    EXPECT_EQ(corners.values.size(), 4U);
}

TEST(Thinning, RefusesEmptyListsWithOneLineAndNoCount) {
    std::vector<float> values;
    std::vector<CornerPoint> points{{1, 1}};
    std::int32_t kept = -7;
    auto said = listen([&] { return goToGetRidOfSomeSPoints(values, points, 1, 7, 1, 1, &kept); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, emptyList);
    values = {1};
    points.clear();
    said = listen([&] { return goToGetRidOfSomeSPoints(values, points, 1, 7, 1, 1, &kept); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, emptyList);
    EXPECT_EQ(kept, -7);
}

TEST(Thinning, ABudgetOfZeroOrLessLeavesNoCorner) {
    for (const std::int32_t budget : {0, -25}) {
        Corners corners = randomCorners(40, 50, 3);
        std::int32_t kept = 99;
        EXPECT_FALSE(
            goToGetRidOfSomeSPoints(corners.values, corners.points, budget, 7 * budget, 1, 1, &kept));
        EXPECT_EQ(kept, budget);
        EXPECT_TRUE(corners.values.empty());
    }
}

/// The radius rule word for word.
std::vector<float> literalRadii(const Corners& corners, float c) {
    float strongest = 0.0F;
    for (const float value : corners.values)
        if (value >= strongest) strongest = value;
    const float threshold = strongest * c;
    std::vector<float> radii;
    for (std::size_t i = 0; i < corners.values.size(); ++i) {
        if (corners.values[i] > threshold) {
            radii.push_back(65535.0F);
            continue;
        }
        std::int32_t m = 65535;
        for (std::size_t j = 0; j < corners.values.size(); ++j)
            if (c * corners.values[j] > corners.values[i]) {
                const std::int32_t dy = corners.points[j].y - corners.points[i].y;
                const std::int32_t dx = corners.points[i].x - corners.points[j].x;
                m = std::min(m, dy * dy + dx * dx);
            }
        radii.push_back(static_cast<float>(m));
    }
    return radii;
}

TEST(Spreading, KeepsTheCornersOfTheLargestRadiiInSortOrder) {
    for (const std::int32_t distinct : {3, 8, 1000, 1 << 22})
        for (std::uint64_t seed = 0; seed < 15; ++seed) {
            const Corners before = randomCorners(60 + seed * 31, distinct, seed);
            const std::vector<std::int32_t> order = sortedIndices(literalRadii(before, 0.5F));
            Corners corners = before;
            std::vector<CornerPoint> out;
            ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 40, 2, 0.5F, out));
            ASSERT_EQ(out.size(), 40U);
            for (std::size_t k = 0; k < out.size(); ++k) {
                const CornerPoint& point = before.points[order[k]];
                ASSERT_EQ(out[k], (CornerPoint{2 * point.x, 2 * point.y}))
                    << "place " << k << " seed " << seed;
            }
            EXPECT_TRUE(corners.values.empty());
            EXPECT_TRUE(corners.points.empty());
        }
}

TEST(Spreading, CornersAboveHalfTheMaximumComeFirst) {
    // 51 and 100 have no neighbour twice as strong; 50 is not above the half and lies beside 51
    Corners corners{{50, 100, 10, 51}, {{0, 0}, {300, 300}, {305, 300}, {1, 0}}};
    std::vector<CornerPoint> out;
    ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 4, 1, 0.5F, out));
    EXPECT_EQ(out.back(), (CornerPoint{305, 300})) << "5 pixels from a corner ten times as strong";
}

TEST(Spreading, ANeighbourExactlyTwiceAsStrongDoesNotSuppress) {
    Corners corners{{50, 100, 49}, {{10, 10}, {11, 10}, {12, 10}}};
    std::vector<CornerPoint> out;
    ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 2, 1, 0.5F, out));
    for (const CornerPoint& point : out) EXPECT_FALSE(point == (CornerPoint{12, 10}));
}

TEST(Spreading, RadiiAreCappedAt65535SoFarCornersTieWithTheStrongest) {
    Corners corners{{100, 1, 2}, {{0, 0}, {5000, 5000}, {10, 0}}};
    const Corners before = corners;
    EXPECT_EQ(literalRadii(before, 0.5F), (std::vector<float>{65535, 65535, 100}));
    std::vector<CornerPoint> out;
    ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 2, 1, 0.5F, out));
    EXPECT_EQ(out, (std::vector<CornerPoint>{{0, 0}, {5000, 5000}}));
}

TEST(Spreading, ScalesEveryPointUnlessTheScaleIsOne) {
    for (const std::int32_t scale : {1, 2, 3}) {
        Corners corners{{5}, {{21, 35}}};
        std::vector<CornerPoint> out;
        ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 1, scale, 0.5F, out));
        EXPECT_EQ(out, (std::vector<CornerPoint>{{21 * scale, 35 * scale}}));
    }
}

TEST(Spreading, FewerPointsThanAskedForAreCopiedUnscaled) {
    Corners corners{{5, 6}, {{21, 35}, {40, 50}}};
    std::vector<CornerPoint> out{{1, 1}};
    EXPECT_TRUE(selectSpreadCorners(corners.values, corners.points, 3, 2, 0.5F, out));
    EXPECT_EQ(out, (std::vector<CornerPoint>{{21, 35}, {40, 50}}));
    EXPECT_TRUE(corners.points.empty());
}

TEST(Spreading, AppendsBehindWhatTheListHolds) {
    Corners corners{{5}, {{21, 35}}};
    std::vector<CornerPoint> out{{1, 1}};
    ASSERT_TRUE(selectSpreadCorners(corners.values, corners.points, 1, 2, 0.5F, out));
    EXPECT_EQ(out, (std::vector<CornerPoint>{{1, 1}, {42, 70}}));
}

TEST(Spreading, RefusesEmptyListsWithOneLineAndEmptiesBoth) {
    std::vector<float> values;
    std::vector<CornerPoint> points{{1, 1}};
    std::vector<CornerPoint> out;
    auto said = listen([&] { return selectSpreadCorners(values, points, 1, 2, 0.5F, out); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, emptyList);
    EXPECT_TRUE(points.empty());
    values = {1};
    said = listen([&] { return selectSpreadCorners(values, points, 1, 2, 0.5F, out); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, emptyList);
    EXPECT_TRUE(values.empty());
}

TEST(Spreading, ACountBelowOneKeepsNothing) {
    for (const std::int32_t count : {0, -4}) {
        Corners corners{{5}, {{21, 35}}};
        std::vector<CornerPoint> out;
        EXPECT_FALSE(selectSpreadCorners(corners.values, corners.points, count, 2, 0.5F, out));
        EXPECT_TRUE(out.empty());
        EXPECT_TRUE(corners.points.empty());
    }
}

}  // namespace
}  // namespace brantel
