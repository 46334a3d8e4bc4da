// The offset that most pairs agree on, and when it is believed: every case goes through the library and the reference.
#include "registration/consensus.h"

#include "reference/consensus.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

using Points = std::vector<CornerPoint>;

struct Outcome {
    bool result = false;
    float dx = -999;
    float dy = -999;
    Points previousInliers;
    Points currentInliers;
};

class Consensus : public AtLevel {
  protected:
    Outcome of(const Points& previous, const Points& current) {
        Points p = previous;
        Points c = current;
        Outcome out;
        out.result = ransacMatchSPointArrayFun(toOutput(), p, c, out.previousInliers, out.currentInliers,
                                               &out.dx, &out.dy, scratch_);
        EXPECT_TRUE(p.empty() && c.empty()) << "both lists are consumed";
        p = previous;
        c = current;
        Outcome expected;
        expected.result = reference::ransacMatchSPointArrayFun(
            toOutput(), p, c, expected.previousInliers, expected.currentInliers, &expected.dx, &expected.dy);
        EXPECT_TRUE(p.empty() && c.empty());
        EXPECT_EQ(out.result, expected.result);
        EXPECT_EQ(out.dx, expected.dx);
        EXPECT_EQ(out.dy, expected.dy);
        EXPECT_TRUE(out.previousInliers == expected.previousInliers);
        EXPECT_TRUE(out.currentInliers == expected.currentInliers);
        return out;
    }

  private:
    PairCoordinates scratch_;  // kept from call to call, as an engine keeps it
};

TEST_P(Consensus, OfRandomPairsWithManyEqualVotes) {
    Random random(41);
    for (std::int32_t count = 1; count <= 130; ++count)
        for (const std::int32_t spread : {0, 3, 6, 12, 80, 2000}) {
            Points previous;
            Points current;
            for (std::int32_t i = 0; i < count; ++i) {
                current.push_back({random.between(0, 4000), random.between(0, 4000)});
                // few offsets, all some pixels apart: groups of the same size, also at exactly 4 pixels
                previous.push_back({current.back().x + random.between(0, spread),
                                    current.back().y + random.between(0, spread)});
            }
            EXPECT_TRUE(of(previous, current).result);
            ASSERT_FALSE(HasFailure()) << count << " pairs within " << spread;
        }
}

TEST_P(Consensus, TiesKeepTheEarlierPairsOffset) {
    const Outcome out =
        of({{100, 100}, {200, 200}, {300, 300}, {400, 400}}, {{90, 95}, {190, 195}, {350, 300}, {450, 400}});
    EXPECT_EQ(out.dx, 10);
    EXPECT_EQ(out.dy, 5);
    EXPECT_EQ(out.previousInliers.size(), 2U);
    for (const std::int32_t size : {1, 2, 7, 16, 33}) {
        Points previous;
        Points current;
        for (std::int32_t group = 0; group < 4; ++group)
            for (std::int32_t i = 0; i < size; ++i) {
                current.push_back({10 * i, 7 * i});
                previous.push_back({10 * i + 50 * group - 100, 7 * i - 30 * group});
            }
        EXPECT_EQ(of(previous, current).dx, -100) << "groups of " << size;
    }
}

TEST_P(Consensus, APairAtExactlyFourPixelsIsNoInlier) {
    EXPECT_EQ(of({{0, 0}, {4, 0}}, {{0, 0}, {0, 0}}).previousInliers.size(), 1U);
    EXPECT_EQ(of({{0, 0}, {3, 2}}, {{0, 0}, {0, 0}}).previousInliers.size(), 2U);
    EXPECT_EQ(of({{0, 0}, {3, 3}}, {{0, 0}, {0, 0}}).previousInliers.size(), 1U) << "4.24 pixels";
}

TEST_P(Consensus, TheOffsetIsTheWinnersOwnNotAMean) {
    const Outcome out = of({{100, 0}, {201, 0}, {302, 0}}, {{90, 0}, {190, 0}, {290, 0}});
    EXPECT_EQ(out.dx, 10) << "10, 11 and 12 all agree; the first pair wins";
}

TEST_P(Consensus, ASinglePairIsItsOwnInlier) {
    const Outcome out = of({{5, 6}}, {{7, 9}});
    EXPECT_TRUE(out.result);
    EXPECT_EQ(out.dx, -2);
    EXPECT_EQ(out.dy, -3);
    EXPECT_EQ(out.previousInliers, (Points{{5, 6}}));
    EXPECT_EQ(out.currentInliers, (Points{{7, 9}}));
}

TEST_P(Consensus, RefusesEmptyListsWithALine) {
    const std::string line = "ransacMatchSPointArrayFun size 0";
    for (const auto& [previous, current] :
         {std::pair{Points{{1, 1}}, Points{}}, {Points{}, Points{{1, 1}}}}) {
        const Points& p = previous;
        const Points& c = current;
        const auto said = listen([&] { return of(p, c).result; });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, (Lines{line, line})) << "one from each";
    }
}

BRANTEL_AT_EVERY_LEVEL(Consensus);

/// count corners that find each other, the current ones (dx, dy) away, then strangers in both frames.
struct FramePair {
    FrameFeatures previous;
    FrameFeatures current;

    FramePair(std::int32_t count, std::int32_t dx, std::int32_t dy, std::int32_t strangers = 0) {
        Random random(77);
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

class EstimateOffset : public testing::Test {
  protected:
    Estimate of(const FramePair& pair) {
        Estimate expected;
        expected.result = reference::estimateOffset(toOutput(), pair.previous, pair.current, 480, 640,
                                                    {&expected.offset, &expected.matchCount});
        for (WorkerPair* workers : {static_cast<WorkerPair*>(nullptr), workers_.pair()}) {
            Estimate found;
            found.result = estimateOffset(toOutput(), pair.previous, pair.current, 480, 640,
                                          {&found.offset, &found.matchCount}, scratch_, workers);
            EXPECT_EQ(found.result, expected.result);
            EXPECT_EQ(found.matchCount, expected.matchCount);
            EXPECT_EQ(found.offset.x, expected.offset.x);
            EXPECT_EQ(found.offset.y, expected.offset.y);
        }
        return expected;
    }

  private:
    IdleWorkers workers_;
    EstimationScratch scratch_;  // kept from call to call
};

TEST_F(EstimateOffset, ElevenInliersAreBelievedTenAreNot) {
    const Estimate eleven = of(FramePair(11, 40, -30));
    EXPECT_TRUE(eleven.result);
    EXPECT_EQ(eleven.matchCount, 11);
    EXPECT_EQ(eleven.offset.x, 40);
    EXPECT_EQ(eleven.offset.y, -30);

    const Estimate ten = of(FramePair(10, 40, -30));
    EXPECT_FALSE(ten.result);
    EXPECT_EQ(ten.matchCount, 10) << "the count is written although it does not suffice";
    EXPECT_EQ(ten.offset.x, -777) << "the offset is not";
}

TEST_F(EstimateOffset, StrangersDoNotCount) {
    const Estimate e = of(FramePair(12, -60, 20, 9));
    EXPECT_TRUE(e.result);
    EXPECT_EQ(e.matchCount, 12);
    EXPECT_EQ(e.offset.x, -60);
    EXPECT_FALSE(of(FramePair(10, -60, 20, 9)).result);
}

TEST_F(EstimateOffset, AnOffsetAsLargeAsTheFrameIsRefusedAndWritesNothing) {
    for (const auto& [dx, dy] : {std::pair{640, 0}, std::pair{-640, 0}, std::pair{0, 480}, std::pair{0, -480},
                                 std::pair{5000, 5000}}) {
        const Estimate e = of(FramePair(50, dx, dy));
        EXPECT_FALSE(e.result);
        EXPECT_EQ(e.matchCount, -5);
        EXPECT_EQ(e.offset.x, -777);
    }
    EXPECT_TRUE(of(FramePair(50, 639, -479)).result);
}

TEST_F(EstimateOffset, WithoutMatchesThereIsNoOffsetAndNoLine) {
    // all descriptors equal: 0 / 0 for every query
    FramePair pair(20, 5, 5);
    for (std::int64_t i = 0; i < 20 * 200; ++i)
        pair.previous.descriptors.data()[i] = pair.current.descriptors.data()[i] = 3;
    Estimate e;
    EXPECT_EQ(captureLines([&] { e = of(pair); }), Lines{});
    EXPECT_FALSE(e.result);
    EXPECT_EQ(e.matchCount, -5);
}

TEST_F(EstimateOffset, WithoutCornersThereIsNoOffset) {
    FramePair pair(20, 5, 5);
    FramePair empty(20, 5, 5);
    empty.previous.corners.clear();
    EXPECT_FALSE(of(empty).result);
    pair.current.corners.clear();
    EXPECT_FALSE(of(pair).result);
}

}  // namespace
}  // namespace brantel::test
