// The strongest corners survive the first cut, the best spread ones the second. Every case goes through the library's
// partial sort and grid and through the reference, which sorts everything and compares every corner with every other.
#include "registration/thinning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>

#if !defined(_WIN32)
#include <pthread.h>
#endif

#include "reference/thinning.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;
using Points = std::vector<CornerPoint>;

const std::string emptyLine = "goToGetRidOfSomeSPoints CornervalueIn size is 0";

struct Corners {
    Floats values;
    Points points;
};

bool operator==(const Corners& a, const Corners& b) {
    return a.values == b.values && a.points == b.points;
}

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

/// Scratch that is kept from call to call, as a frame side keeps it.
ThinningScratch& scratch() {
    static ThinningScratch kept;
    return kept;
}

struct Thinned {
    bool result = false;
    Corners corners;
    std::int32_t count = -5;
};

Thinned thinned(const Corners& corners, std::int32_t budget, std::int32_t cap) {
    Thinned library{false, corners};
    Thinned expected{false, corners};
    library.result = goToGetRidOfSomeSPoints(toOutput(), library.corners.values, library.corners.points,
                                             budget, cap, 1, 1, &library.count, scratch());
    expected.result = reference::goToGetRidOfSomeSPoints(
        toOutput(), expected.corners.values, expected.corners.points, budget, cap, 1, 1, &expected.count);
    EXPECT_EQ(library.result, expected.result);
    EXPECT_EQ(library.count, expected.count);
    EXPECT_TRUE(library.corners == expected.corners);
    return library;
}

struct Spread {
    bool result = false;
    Points points;
};

/// Behind what points the list holds already.
Spread spread(const Corners& corners, std::int32_t count, std::int32_t scale = 1, float c = 0.5F,
              const Points& before = {}) {
    Corners list = corners;
    Spread library{false, before};
    library.result =
        selectSpreadCorners(toOutput(), list.values, list.points, count, scale, c, library.points, scratch());
    EXPECT_TRUE(list.values.empty() && list.points.empty());
    list = corners;
    Spread expected{false, before};
    expected.result = reference::selectSpreadCorners(toOutput(), list.values, list.points, count, scale, c,
                                                     expected.points);
    EXPECT_TRUE(list.values.empty() && list.points.empty());
    EXPECT_EQ(library.result, expected.result);
    EXPECT_TRUE(library.points == expected.points);
    return library;
}

/// Both steps, as detection takes them.
void thinAndSpread(const Corners& corners, std::int32_t budget, std::int32_t cap, float c = 0.5F,
                   std::int32_t scale = 2) {
    const Thinned left = thinned(corners, budget, cap);
    spread(left.corners, std::min(left.count, static_cast<std::int32_t>(left.corners.points.size())), scale,
           c, {{1, 2}});
}

TEST(Thinning, OfCornersWithManyTies) {
    std::uint64_t seed = 1;
    for (const std::int32_t count : {1, 2, 3, 10, 99, 100, 101, 150, 400, 1200})
        for (const std::int32_t kinds : {1, 2, 5, 60, 100000})
            for (const std::int32_t side : {5, 60, 700, 3000})
                for (const std::int32_t budget : {count / 4, count}) {
                    const Corners corners = someCorners(count, kinds, {0, 0}, {side, side / 2}, seed++);
                    thinAndSpread(corners, budget, count / 2);  // more than the cap
                    thinAndSpread(corners, budget, count);      // as many
                    thinAndSpread(corners, budget, 7 * count);  // less
                    ASSERT_FALSE(testing::Test::HasFailure())
                        << count << " corners, " << kinds << " kinds, side " << side;
                }
}

TEST(Thinning, OfSeveralThousandCorners) {
    for (const std::int32_t kinds : {3, 1000, 1000000}) {
        const Corners corners = someCorners(6000, kinds, {20, 20}, {1300, 1000}, kinds);
        thinAndSpread(corners, 162, 1134);
        thinAndSpread(corners, 4000, 5500);
        thinAndSpread(corners, 6000, 9000);
    }
}

TEST(Thinning, OfSortedCorners) {
    for (const std::int32_t count : {50, 500, 2500}) {
        Corners corners = someCorners(count, 400, {0, 0}, {800, 600}, count);
        std::sort(corners.values.begin(), corners.values.end());
        thinAndSpread(corners, count / 3, count / 2);
        thinAndSpread(corners, count / 3, 2 * count);
        std::sort(corners.values.begin(), corners.values.end(), std::greater<>());
        thinAndSpread(corners, count / 3, count / 2);
        thinAndSpread(corners, count / 3, 2 * count);
    }
}

TEST(Thinning, OfClusteredCornersFarApart) {
    Random random(7);
    for (const std::int32_t distance : {16, 255, 256, 257, 1000, 29000}) {
        Corners corners;
        for (std::int32_t i = 0; i < 600; ++i) {
            const std::int32_t cluster = random.between(0, 1);
            corners.values.push_back(static_cast<float>(random.between(1, 3) << (4 * cluster)));
            corners.points.push_back({cluster * distance + random.between(0, 3), random.between(0, 3)});
        }
        thinAndSpread(corners, 100, 1000);
    }
}

TEST(Thinning, OfCornersWhoseDistancesWrap) {
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
            thinAndSpread(someCorners(count, 40, low, high, seed++), count / 2, count);
}

TEST(Thinning, WithOtherFactorsAndScales) {
    for (const float c : {0.1F, 0.5F, 0.9F, 1.0F, 1.5F})
        for (const std::int32_t scale : {1, 2, 3})
            thinAndSpread(someCorners(300, 20, {0, 0}, {400, 300}, scale), 80, 250, c, scale);
}

TEST(Thinning, KeepsEverythingInPlaceUpToTheCap) {
    const Corners corners{{7, 9, 8}, {{30, 40}, {1, 2}, {5, 6}}};
    const Thinned out = thinned(corners, 2, 3);
    EXPECT_TRUE(out.result);
    EXPECT_EQ(out.count, 2);
    EXPECT_TRUE(out.corners == corners);
    EXPECT_EQ(thinned(corners, 181, 1267).count, 3);
}

TEST(Thinning, OneCornerBeyondTheCapIsEnoughToSort) {
    const Thinned out = thinned({{1, 2, 3, 4}, {{1, 1}, {2, 2}, {3, 3}, {4, 4}}}, 3, 3);
    EXPECT_TRUE(out.result);
    EXPECT_EQ(out.corners.values, (Floats{4, 3, 2}));
    EXPECT_EQ(out.corners.points, (Points{{4, 4}, {3, 3}, {2, 2}}));
}

TEST(Thinning, LeavesEqualResponsesWhereTheUnstableSortDoes) {
    const Corners corners{{5, 7, 5, 7, 5, 9, 1}, {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}}};
    EXPECT_EQ(thinned(corners, 6, 6).corners.points,
              (Points{{5, 0}, {1, 0}, {3, 0}, {2, 0}, {4, 0}, {0, 0}}));
}

TEST(Thinning, CountIsTakenBeforeTheCut) {
    const Thinned out = thinned(someCorners(10, 50, {0, 0}, {500, 400}, 3), 8, 4);
    EXPECT_EQ(out.count, 8);
    EXPECT_EQ(out.corners.values.size(), 4U);
}

TEST(Thinning, RefusesEmptyListsWithOneLineAndNoCount) {
    for (const Corners& corners : {Corners{{}, {{1, 1}}}, Corners{{1}, {}}}) {
        Thinned out;
        EXPECT_EQ(captureLines([&] { out = thinned(corners, 1, 7); }), (Lines{emptyLine, emptyLine}))
            << "one from each";
        EXPECT_FALSE(out.result);
        EXPECT_EQ(out.count, -5);
    }
}

TEST(Thinning, ABudgetOfZeroOrLessLeavesNoCorner) {
    for (const std::int32_t budget : {0, -25}) {
        const Thinned out = thinned(someCorners(40, 50, {0, 0}, {500, 400}, 3), budget, 7 * budget);
        EXPECT_FALSE(out.result);
        EXPECT_EQ(out.count, budget);
        EXPECT_TRUE(out.corners.values.empty());
    }
}

TEST(Spreading, CornersAboveHalfTheMaximumComeFirst) {
    // 51 and 100 have no neighbour twice as strong; 50 is not above the half and lies beside 51
    const Spread out = spread({{50, 100, 10, 51}, {{0, 0}, {300, 300}, {305, 300}, {1, 0}}}, 4);
    EXPECT_EQ(out.points.back(), (CornerPoint{305, 300})) << "5 pixels from a corner ten times as strong";
}

TEST(Spreading, ANeighbourExactlyTwiceAsStrongDoesNotSuppress) {
    const Spread out = spread({{50, 100, 49}, {{10, 10}, {11, 10}, {12, 10}}}, 2);
    for (const CornerPoint& point : out.points) EXPECT_FALSE(point == (CornerPoint{12, 10}));
}

TEST(Spreading, RadiiAreCappedAt65535SoFarCornersTieWithTheStrongest) {
    EXPECT_EQ(spread({{100, 1, 2}, {{0, 0}, {5000, 5000}, {10, 0}}}, 2).points,
              (Points{{0, 0}, {5000, 5000}}));
}

TEST(Spreading, ScalesEveryPointAndAppends) {
    for (const std::int32_t scale : {1, 2, 3})
        EXPECT_EQ(spread({{5}, {{21, 35}}}, 1, scale, 0.5F, {{1, 1}}).points,
                  (Points{{1, 1}, {21 * scale, 35 * scale}}));
}

TEST(Spreading, FewerPointsThanAskedForAreCopiedUnscaled) {
    const Spread out = spread({{5, 6}, {{21, 35}, {40, 50}}}, 3, 2, 0.5F, {{1, 1}});
    EXPECT_TRUE(out.result);
    EXPECT_EQ(out.points, (Points{{21, 35}, {40, 50}})) << "in place of what was there";
}

TEST(Spreading, RefusesEmptyListsWithOneLineAndEmptiesBoth) {
    for (const Corners& corners : {Corners{{}, {{1, 1}}}, Corners{{1}, {}}}) {
        Spread out;
        EXPECT_EQ(captureLines([&] { out = spread(corners, 1, 2); }), (Lines{emptyLine, emptyLine}))
            << "one from each";
        EXPECT_FALSE(out.result);
    }
}

TEST(Spreading, ACountBelowOneKeepsNothing) {
    for (const std::int32_t count : {0, -4}) {
        const Spread out = spread({{5}, {{21, 35}}}, count, 2);
        EXPECT_FALSE(out.result);
        EXPECT_TRUE(out.points.empty());
    }
}

#if !defined(_WIN32)

/// Runs on a thread whose stack would hold no recursion per element.
void onSmallStack(const std::function<void()>& run) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{512} * 1024), 0);
    pthread_t thread{};
    const auto body = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, const_cast<std::function<void()>*>(&run)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(Thinning, NeedsNoDeepStackForSortedOrEqualResponses) {
    constexpr std::int32_t count = 60000;
    Corners ascending{Floats(count), Points(count)};
    std::iota(ascending.values.begin(), ascending.values.end(), 1.0F);
    Corners descending = ascending;
    std::reverse(descending.values.begin(), descending.values.end());
    Corners equal = ascending;
    std::fill(equal.values.begin(), equal.values.end(), 65535.0F);
    onSmallStack([&] {
        for (Corners* corners : {&ascending, &descending, &equal})
            EXPECT_TRUE(thinned(*corners, 181, count - 1).result);
        EXPECT_EQ(thinned(ascending, 181, count - 1).corners.values.front(), count);
    });
}

#endif

}  // namespace
}  // namespace brantel::test
