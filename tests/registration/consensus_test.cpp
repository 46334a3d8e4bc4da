// The offset that most pairs agree on, and when it is believed.
#include <gtest/gtest.h>

#include <cmath>

#include "registration/consensus.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using Points = std::vector<CornerPoint>;

struct Outcome {
    bool result = false;
    float dx = -999;
    float dy = -999;
    Points previousInliers;
    Points currentInliers;
};

Outcome consensusOf(Points previous, Points current) {
    Outcome out;
    out.result = ransacMatchSPointArrayFun(previous, current, out.previousInliers, out.currentInliers,
                                           &out.dx, &out.dy);
    EXPECT_TRUE(previous.empty() && current.empty()) << "both lists are consumed";
    return out;
}

/// Every pair as hypothesis, word for word.
Outcome literalConsensus(const Points& a, const Points& b) {
    Outcome out;
    std::size_t best = 0;
    std::size_t winner = 0;
    std::vector<std::size_t> kept;
    for (std::size_t k = 0; k < a.size(); ++k) {
        const auto dx = static_cast<float>(a[k].x - b[k].x);
        const auto dy = static_cast<float>(a[k].y - b[k].y);
        std::vector<std::size_t> inliers;
        for (std::size_t m = 0; m < a.size(); ++m) {
            const float ex = (static_cast<float>(b[m].x) + dx) - static_cast<float>(a[m].x);
            const float ey = (static_cast<float>(b[m].y) + dy) - static_cast<float>(a[m].y);
            if (4.0 > static_cast<double>(std::sqrt(ex * ex + ey * ey))) inliers.push_back(m);
        }
        if (inliers.size() > best) {
            best = inliers.size();
            winner = k;
            kept = inliers;
        }
    }
    for (const std::size_t m : kept) {
        out.previousInliers.push_back(a[m]);
        out.currentInliers.push_back(b[m]);
    }
    out.dx = static_cast<float>(a[winner].x - b[winner].x);
    out.dy = static_cast<float>(a[winner].y - b[winner].y);
    out.result = true;
    return out;
}

TEST(Consensus, AgreesWithTheDefinitionForRandomPairs) {
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
        test::Random random(seed);
        const std::int32_t spread = seed % 3 == 0 ? 8 : (seed % 3 == 1 ? 40 : 2000);
        Points a;
        Points b;
        const std::int32_t count = random.between(1, 200);
        for (std::int32_t i = 0; i < count; ++i) {
            a.push_back({random.between(0, 2000), random.between(0, 2000)});
            b.push_back({a.back().x - 100 + random.between(-spread, spread),
                         a.back().y + 60 + random.between(-spread, spread)});
        }
        const Outcome expected = literalConsensus(a, b);
        const Outcome actual = consensusOf(a, b);
        ASSERT_TRUE(actual.result);
        ASSERT_EQ(actual.dx, expected.dx);
        ASSERT_EQ(actual.dy, expected.dy);
        ASSERT_EQ(actual.previousInliers, expected.previousInliers);
        ASSERT_EQ(actual.currentInliers, expected.currentInliers);
    }
}

TEST(Consensus, TiesKeepTheEarlierPairsOffset) {
    const Outcome out = consensusOf({{100, 100}, {200, 200}, {300, 300}, {400, 400}},
                                    {{90, 95}, {190, 195}, {350, 300}, {450, 400}});
    EXPECT_EQ(out.dx, 10);
    EXPECT_EQ(out.dy, 5);
    EXPECT_EQ(out.previousInliers.size(), 2U);
}

TEST(Consensus, APairAtExactlyFourPixelsIsNoInlier) {
    EXPECT_EQ(consensusOf({{0, 0}, {4, 0}}, {{0, 0}, {0, 0}}).previousInliers.size(), 1U);
    EXPECT_EQ(consensusOf({{0, 0}, {3, 2}}, {{0, 0}, {0, 0}}).previousInliers.size(), 2U);
    EXPECT_EQ(consensusOf({{0, 0}, {3, 3}}, {{0, 0}, {0, 0}}).previousInliers.size(), 1U) << "4.24 pixels";
}

TEST(Consensus, TheOffsetIsTheWinnersOwnNotAMean) {
    const Outcome out = consensusOf({{100, 0}, {201, 0}, {302, 0}}, {{90, 0}, {190, 0}, {290, 0}});
    EXPECT_EQ(out.dx, 10) << "10, 11 and 12 all agree; the first pair wins";
}

TEST(Consensus, ASinglePairIsItsOwnInlier) {
    const Outcome out = consensusOf({{5, 6}}, {{7, 9}});
    EXPECT_TRUE(out.result);
    EXPECT_EQ(out.dx, -2);
    EXPECT_EQ(out.dy, -3);
    EXPECT_EQ(out.previousInliers.size(), 1U);
}

TEST(Consensus, RefusesEmptyListsWithALine) {
    for (int which = 0; which < 2; ++which) {
        Points a;
        Points b;
        (which == 0 ? a : b).push_back({1, 1});
        Points ia;
        Points ib;
        float dx = 0;
        float dy = 0;
        const auto said = test::listen([&] { return ransacMatchSPointArrayFun(a, b, ia, ib, &dx, &dy); });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, test::Lines{"ransacMatchSPointArrayFun size 0"});
        EXPECT_TRUE(a.empty() && b.empty());
    }
}

/// count corners that find each other, the current ones (dx, dy) away, then strangers in both frames.
struct FramePair {
    FrameFeatures previous;
    FrameFeatures current;

    FramePair(std::int32_t count, std::int32_t dx, std::int32_t dy, std::int32_t strangers = 0) {
        test::Random random(77);
        const std::int64_t all = std::int64_t{count} + strangers;
        previous.descriptors.ensure(all * 200);
        current.descriptors.ensure(all * 200);
        for (std::int64_t i = 0; i < all; ++i) {
            const CornerPoint p{random.between(20, 400), random.between(20, 300)};
            previous.corners.push_back(p);
            current.corners.push_back({p.x - dx, p.y - dy});
            if (i >= count)
                current.corners.back() = {p.x + 37 * static_cast<std::int32_t>(i - count + 1), p.y};
            for (std::int64_t k = 0; k < 200; ++k)
                previous.descriptors.data()[i * 200 + k] = current.descriptors.data()[i * 200 + k] =
                    static_cast<std::uint16_t>(random.between(0, 999));
        }
    }
};

struct Estimate {
    bool result = false;
    Offset offset{-777, -778};
    std::int32_t matchCount = -5;
};

Estimate estimateOf(const FramePair& pair, std::int32_t rows, std::int32_t cols) {
    Estimate e;
    e.result = estimateOffset(pair.previous, pair.current, rows, cols, {&e.offset, &e.matchCount});
    return e;
}

TEST(EstimateOffset, ElevenInliersAreBelievedTenAreNot) {
    const Estimate eleven = estimateOf(FramePair(11, 40, -30), 480, 640);
    EXPECT_TRUE(eleven.result);
    EXPECT_EQ(eleven.matchCount, 11);
    EXPECT_EQ(eleven.offset.x, 40);
    EXPECT_EQ(eleven.offset.y, -30);

    const Estimate ten = estimateOf(FramePair(10, 40, -30), 480, 640);
    EXPECT_FALSE(ten.result);
    EXPECT_EQ(ten.matchCount, 10) << "the count is written although it does not suffice";
    EXPECT_EQ(ten.offset.x, -777) << "the offset is not";
}

TEST(EstimateOffset, StrangersDoNotCount) {
    const Estimate e = estimateOf(FramePair(12, -60, 20, 9), 480, 640);
    EXPECT_TRUE(e.result);
    EXPECT_EQ(e.matchCount, 12);
    EXPECT_EQ(e.offset.x, -60);
    EXPECT_FALSE(estimateOf(FramePair(10, -60, 20, 9), 480, 640).result);
}

TEST(EstimateOffset, AnOffsetAsLargeAsTheFrameIsRefusedAndWritesNothing) {
    for (const auto& [dx, dy] : {std::pair{640, 0}, std::pair{-640, 0}, std::pair{0, 480}, std::pair{0, -480},
                                 std::pair{5000, 5000}}) {
        const Estimate e = estimateOf(FramePair(50, dx, dy), 480, 640);
        EXPECT_FALSE(e.result);
        EXPECT_EQ(e.matchCount, -5);
        EXPECT_EQ(e.offset.x, -777);
    }
    EXPECT_TRUE(estimateOf(FramePair(50, 639, -479), 480, 640).result);
}

TEST(EstimateOffset, WithoutMatchesThereIsNoOffsetAndNoLine) {
    // all descriptors equal: 0 / 0 for every query
    FramePair pair(20, 5, 5);
    for (std::int64_t i = 0; i < 20 * 200; ++i)
        pair.previous.descriptors.data()[i] = pair.current.descriptors.data()[i] = 3;
    Estimate e;
    const auto said = test::listen([&] {
        return estimateOffset(pair.previous, pair.current, 480, 640, {&e.offset, &e.matchCount});
    });
    EXPECT_FALSE(said.result);
    EXPECT_TRUE(said.lines.empty());
    EXPECT_EQ(e.matchCount, -5);
}

TEST(EstimateOffset, WithoutCornersThereIsNoOffset) {
    FramePair pair(20, 5, 5);
    FramePair empty(20, 5, 5);
    empty.previous.corners.clear();
    EXPECT_FALSE(estimateOf(empty, 480, 640).result);
    pair.current.corners.clear();
    EXPECT_FALSE(estimateOf(pair, 480, 640).result);
}

}  // namespace
}  // namespace brantel
