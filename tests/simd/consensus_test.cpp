// Consensus over lists of coordinates against the plain loop over points.
#include "registration/consensus.h"

#include "plain/consensus.h"
#include "simd/at_level.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Points = std::vector<CornerPoint>;

class Consensus : public AtLevel {
  protected:
    void expectPlainConsensus(const Points& previous, const Points& current) {
        Points p[2] = {previous, previous};
        Points c[2] = {current, current};
        Points pIn[2];
        Points cIn[2];
        float dx[2] = {-9999, -9999};
        float dy[2] = {-9999, -9999};
        const bool found = ransacMatchSPointArrayFun(p[0], c[0], pIn[0], cIn[0], &dx[0], &dy[0], scratch_);
        EXPECT_EQ(found, plain::ransacMatchSPointArrayFun(p[1], c[1], pIn[1], cIn[1], &dx[1], &dy[1]));
        EXPECT_EQ(dx[0], dx[1]);
        EXPECT_EQ(dy[0], dy[1]);
        EXPECT_TRUE(pIn[0] == pIn[1] && cIn[0] == cIn[1]);
        EXPECT_TRUE(p[0].empty() && c[0].empty());
    }

    PairCoordinates scratch_;
};

TEST_P(Consensus, OfPairsWithManyEqualVotes) {
    Random random(41);
    for (std::int32_t count = 0; count <= 130; ++count)
        for (const std::int32_t spread : {0, 3, 6, 12, 2000}) {
            Points previous;
            Points current;
            for (std::int32_t i = 0; i < count; ++i) {
                current.push_back({random.between(0, 4000), random.between(0, 4000)});
                // few offsets, all some pixels apart: groups of the same size, also at exactly 4 pixels
                previous.push_back({current.back().x + random.between(0, spread),
                                    current.back().y + random.between(0, spread)});
            }
            expectPlainConsensus(previous, current);
            ASSERT_FALSE(HasFailure()) << count << " pairs within " << spread;
        }
}

TEST_P(Consensus, OfGroupsThatTie) {
    for (const std::int32_t size : {1, 2, 7, 16, 33}) {
        Points previous;
        Points current;
        for (std::int32_t group = 0; group < 4; ++group)
            for (std::int32_t i = 0; i < size; ++i) {
                current.push_back({10 * i, 7 * i});
                previous.push_back({10 * i + 50 * group - 100, 7 * i - 30 * group});
            }
        expectPlainConsensus(previous, current);
    }
}

BRANTEL_AT_EVERY_LEVEL(Consensus);

}  // namespace
}  // namespace brantel::test
