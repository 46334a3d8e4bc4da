// The nearest descriptor wins when it is clearly nearer than the second: every case goes through the library, alone and
// with idle workers, and through the reference.
#include "registration/matching.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "common/tuning.h"
#include "reference/matching.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/lines.h"
#include "support/rows.h"

namespace brantel {

static bool operator==(const Match& a, const Match& b) {
    return a.current == b.current && a.previous == b.previous;
}

namespace test {
namespace {

using Descriptors = std::vector<std::uint16_t>;
using Matches = std::vector<Match>;

struct Extremes {
    float minimum = -1;
    float maximum = -1;
    std::int32_t index = -1;
    bool result = false;
};

Extremes extremesOf(const std::vector<float>& values, std::int32_t count) {
    Extremes e;
    e.result = findMinIndex(toOutput(), values.data(), count, &e.minimum, &e.maximum, &e.index);
    return e;
}

TEST(FindMinIndex, TiesKeepTheLowestIndex) {
    const Extremes e = extremesOf({4, 2, 9, 2, 9}, 5);
    EXPECT_TRUE(e.result);
    EXPECT_EQ(e.minimum, 2);
    EXPECT_EQ(e.maximum, 9);
    EXPECT_EQ(e.index, 1);
}

TEST(FindMinIndex, ACountBelowTwoGivesTheFirstElement) {
    for (const std::int32_t count : {1, 0, -3}) {
        const Extremes e = extremesOf({4, 2}, count);
        EXPECT_TRUE(e.result);
        EXPECT_EQ(e.minimum, 4);
        EXPECT_EQ(e.maximum, 4);
        EXPECT_EQ(e.index, 0);
    }
}

TEST(FindMinIndex, ALeadingNaNStaysAndLaterOnesAreSkipped) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan(extremesOf({nan, 1, 2}, 3).minimum));
    EXPECT_EQ(extremesOf({3, nan, 2}, 3).index, 2);
}

TEST(FindMinIndex, RefusesNull) {
    float a = 0;
    std::int32_t index = 0;
    const auto said = listen([&] { return findMinIndex(toOutput(), nullptr, 4, &a, &a, &index); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"findMinIndex ptr is null"});
}

class Matching : public AtLevel {
  protected:
    /// Behind one match that is there already, which stays.
    Matches of(const Descriptors& reference, const Descriptors& query, float ratio = matchRatio,
               std::int32_t length = descriptorLength, std::int32_t stride = 0) {
        if (stride == 0) stride = length;
        const auto references = static_cast<std::int32_t>(reference.size()) / stride;
        const auto queries = static_cast<std::int32_t>(query.size()) / length;
        const Place& place = places[reference.size() % 6];
        const auto guardedReference = placed(reference, place);
        const auto guardedQuery = placed(query, place);
        std::vector<float> distances(references);
        Matches expected{{7, 7}};
        EXPECT_TRUE(reference::calacDistanceIndexFun(toOutput(), guardedReference->data(),
                                                     guardedQuery->data(), distances.data(), ratio,
                                                     references, stride, queries, length, expected));
        for (WorkerPair* workers : {static_cast<WorkerPair*>(nullptr), workers_.pair()}) {
            GuardedBuffer<float> scratch(references * (workers != nullptr ? loopThreads : 1));
            Matches found{{7, 7}};
            EXPECT_TRUE(calacDistanceIndexFun(toOutput(), guardedReference->data(), guardedQuery->data(),
                                              scratch.data(), ratio, references, stride, queries, length,
                                              found, workers));
            EXPECT_TRUE(found == expected);
            EXPECT_TRUE(scratch.intact());
        }
        expected.erase(expected.begin());
        matches_ += expected.size();
        queries_ += queries;
        return expected;
    }

    std::size_t matches_ = 0;
    std::size_t queries_ = 0;

  private:
    IdleWorkers workers_;
};

Descriptors someDescriptors(std::int64_t values, std::int32_t largest, Random& random) {
    Descriptors all(static_cast<std::size_t>(values));
    for (std::uint16_t& value : all) value = static_cast<std::uint16_t>(random.between(0, largest));
    return all;
}

Descriptors join(const std::vector<Descriptors>& parts) {
    Descriptors all;
    for (const Descriptors& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

Descriptors constantDescriptor(std::uint16_t value) {
    return Descriptors(descriptorLength, value);
}

TEST_P(Matching, TheRatioIsNinetyEightHundredthsAndStrict) {
    EXPECT_EQ(matchRatio, 0.98F);
    // distances 98 and 100 in one element each: 98 / 100 in float is not below 0.98F
    Descriptors query = constantDescriptor(0);
    Descriptors a = query;
    Descriptors b = query;
    for (std::size_t k = 0; k < 98; ++k) a[k] = 1;
    for (std::size_t k = 0; k < 100; ++k) b[k] = 1;
    EXPECT_EQ(98.0F / 100.0F, 0.98F);
    EXPECT_TRUE(of(join({a, b}), query).empty());
    a[97] = 0;
    EXPECT_EQ(of(join({a, b}), query).size(), 1U);
}

TEST_P(Matching, ZeroOverZeroIsNoMatch) {
    const Descriptors twin = constantDescriptor(7);
    // nearest 0 is replaced by the farthest, which is 0 as well
    EXPECT_TRUE(of(join({twin, twin}), twin).empty());
    // with a third one the second of the twins is still at 0
    EXPECT_TRUE(of(join({twin, twin, constantDescriptor(99)}), twin).empty());
}

TEST_P(Matching, ASingleReferenceNeverMatches) {
    EXPECT_TRUE(of(constantDescriptor(7), constantDescriptor(9)).empty()) << "ratio 1";
    EXPECT_TRUE(of(constantDescriptor(7), constantDescriptor(7)).empty()) << "no number";
}

TEST_P(Matching, TwoReferencesAreComparedWithTheFartherOne) {
    // with two references the second nearest is the farthest: replaced nearest equals it
    EXPECT_EQ(of(join({constantDescriptor(10), constantDescriptor(8)}), constantDescriptor(7)),
              (Matches{{0, 1}}));
    EXPECT_EQ(of(join({constantDescriptor(9), constantDescriptor(7)}), constantDescriptor(7)),
              (Matches{{0, 1}}))
        << "distance 0 always matches";
    EXPECT_TRUE(of(join({constantDescriptor(5), constantDescriptor(9)}), constantDescriptor(7)).empty())
        << "equally distant ones are too close";
}

TEST_P(Matching, SeveralQueriesMayShareAReference) {
    EXPECT_EQ(of(join({constantDescriptor(100), constantDescriptor(500)}),
                 join({constantDescriptor(100), constantDescriptor(101)})),
              (Matches{{0, 0}, {1, 0}}));
}

TEST_P(Matching, NothingToMatchIsASuccess) {
    EXPECT_TRUE(of(constantDescriptor(7), {}).empty());
    EXPECT_TRUE(of({}, constantDescriptor(7)).empty());
}

TEST_P(Matching, SumsBeyond24BitsRoundLikeTheWrittenOrder) {
    // values up to 46340 keep each square within 32 bits while the float sum rounds at nearly every step
    Random random(8);
    const Descriptors reference = someDescriptors(std::int64_t{20} * descriptorLength, 46340, random);
    of(reference, someDescriptors(std::int64_t{20} * descriptorLength, 46340, random));
    Descriptors near = reference;
    for (std::size_t i = 0; i < near.size(); i += 3) near[i] = static_cast<std::uint16_t>(near[i] ^ 0x3FU);
    of(reference, near);
    // 2^24 and then 100 times 1: the ones are lost one by one, and the two references are as far
    Descriptors query = constantDescriptor(0);
    Descriptors far = query;
    far[0] = 4096;
    Descriptors farther = far;
    for (std::size_t k = 1; k <= 100; ++k) farther[k] = 1;
    EXPECT_TRUE(of(join({far, farther}), query, 1.0F).empty());
    std::reverse(farther.begin(), farther.end());
    EXPECT_EQ(of(join({far, farther}), query, 1.0F), (Matches{{0, 0}})) << "100 and then 2^24 add up";
}

TEST_P(Matching, OfSmallSumsOfEveryLength) {
    Random random(31);
    for (const std::int32_t length : {1, 2, 15, 16, 17, 95, 96, 97, 191, 192, 193, 200, 255, 256, 257, 300})
        for (const std::int32_t references : {1, 2, 3, 40}) {
            const Descriptors reference = someDescriptors(references * length, 60, random);
            Descriptors query = someDescriptors(std::int64_t{37} * length, 60, random);
            std::copy_n(reference.begin(), length, query.begin() + 3 * length);  // distance 0
            for (const float ratio : {matchRatio, 0.5F, 1.0F, 3.0F, 0.0F, -1.0F})
                of(reference, query, ratio, length);
        }
    EXPECT_GT(matches_, 0U);
    EXPECT_LT(matches_, queries_);
}

TEST_P(Matching, OfReferencesWithAStride) {
    Random random(32);
    const Descriptors reference = someDescriptors(std::int64_t{60} * 213, 6400, random);
    const Descriptors query = someDescriptors(std::int64_t{50} * 200, 6400, random);
    of(reference, query, matchRatio, 200, 213);
}

TEST_P(Matching, OfValuesAroundWhatTheIntegerSumTakes) {
    Random random(33);
    for (const std::int32_t largest : {6399, 6400, 6401, 20000, 65535})
        for (int i = 0; i < 6; ++i) {
            Descriptors reference = someDescriptors(std::int64_t{30} * descriptorLength, largest, random);
            Descriptors query = someDescriptors(std::int64_t{25} * descriptorLength, largest, random);
            if (i % 3 == 1)  // one large value only, on either side
                for (std::uint16_t& value : i < 3 ? reference : query) value /= 40;
            (i % 2 == 0 ? reference : query)[777] = static_cast<std::uint16_t>(largest);
            of(reference, query);
        }
}

TEST_P(Matching, OfEqualDescriptors) {
    for (const std::uint16_t value : {0, 5, 6400, 6401})
        for (const std::int32_t references : {1, 2, 3, 20}) {
            const Descriptors reference(references * descriptorLength, value);
            of(reference, Descriptors(20 * descriptorLength, value));
            of(reference, Descriptors(20 * descriptorLength, 9));
        }
    EXPECT_EQ(matches_, 0U);  // neither 0 / 0 nor 1 is below the ratio
}

float sumInOrder(const std::uint16_t* a, const std::uint16_t* b, std::int64_t* whole) {
    float sum = 0;
    *whole = 0;
    for (std::int32_t k = 0; k < descriptorLength; ++k) {
        const std::int32_t difference = a[k] - b[k];
        sum += static_cast<float>(difference * difference);
        *whole += difference * difference;
    }
    return sum;
}

/// References at nearly the same large distance from the query: the same differences in another order, but
/// for a small one. Float rounding tells them apart, or makes different sums equal.
Descriptors nearTies(const std::uint16_t* query, std::int32_t references, std::int32_t typical,
                     Random& random) {
    std::vector<std::int32_t> differences(descriptorLength);
    for (std::int32_t& difference : differences) difference = random.between(typical / 2, typical);
    Descriptors all;
    for (std::int32_t j = 0; j < references; ++j) {
        for (std::int32_t k = descriptorLength - 1; k > 1; --k)
            std::swap(differences[k], differences[random.between(1, k)]);
        differences[0] = random.between(0, 5);
        for (std::int32_t k = 0; k < descriptorLength; ++k)
            all.push_back(static_cast<std::uint16_t>(query[k] + differences[k]));
    }
    return all;
}

TEST_P(Matching, OfLargeSumsThatOnlyRoundingTellsApart) {
    Random random(34);
    int turned = 0;  // queries whose nearest by whole numbers is not the nearest
    // sums from 2^23.6 over 2^24 and 2^25 to 2^32
    for (const std::int32_t typical : {380, 387, 395, 420, 550, 800, 1500, 3000, 6200})
        for (int i = 0; i < 25; ++i) {
            const Descriptors query = someDescriptors(descriptorLength, 150, random);
            const Descriptors reference = nearTies(query.data(), i % 5 == 0 ? 2 : 60, typical, random);
            float nearest = 0;
            std::int64_t smallest = INT64_MAX;
            std::size_t byFloat = 0;
            std::size_t byWhole = 0;
            for (std::size_t j = 0; j < reference.size() / descriptorLength; ++j) {
                std::int64_t whole = 0;
                const float sum = sumInOrder(query.data(), &reference[j * descriptorLength], &whole);
                if (j == 0 || sum < nearest) {
                    nearest = sum;
                    byFloat = j;
                }
                if (whole < smallest) {
                    smallest = whole;
                    byWhole = j;
                }
            }
            turned += byFloat != byWhole ? 1 : 0;
            // 1 + 2^-20 and 1 + 2^-22: nearly equal distances still match, so that the index is seen
            for (const float ratio : {2.0F, 1.0F, 1.00000095F, 1.00000024F, 0.99999994F, 0.999999F})
                of(reference, query, ratio);
        }
    EXPECT_GT(turned, 50);
    EXPECT_GT(matches_, 0U);
    EXPECT_LT(matches_, queries_);
}

TEST_P(Matching, OfNoisyCopiesAsFramesHaveThem) {
    Random random(35);
    for (const std::int32_t largest : {200, 900, 3000})
        for (const std::int32_t noise : {largest / 2, largest / 16}) {
            const Descriptors reference =
                someDescriptors(std::int64_t{120} * descriptorLength, largest, random);
            Descriptors query = reference;
            for (std::uint16_t& value : query)
                value =
                    static_cast<std::uint16_t>(std::clamp(value + random.between(-noise, noise), 0, 6400));
            const Matches matches = of(reference, query);
            if (noise == largest / 16) {
                EXPECT_EQ(matches.size(), 120U);
                for (const Match& match : matches) EXPECT_EQ(match.current, match.previous);
            }
        }
    EXPECT_GT(matches_, 0U);
}

BRANTEL_AT_EVERY_LEVEL(Matching);

TEST(MatchingArguments, NullDescriptorsAreRefusedWithALine) {
    const Descriptors one = constantDescriptor(7);
    float distance = 0;
    Matches matches;
    for (const bool reference : {true, false}) {
        const std::uint16_t* r = reference ? nullptr : one.data();
        const std::uint16_t* q = reference ? one.data() : nullptr;
        for (const auto& said :
             {listen([&] {
                  return calacDistanceIndexFun(toOutput(), r, q, &distance, 0.98F, 1, descriptorLength, 1,
                                               descriptorLength, matches, nullptr);
              }),
              listen([&] {
                  return reference::calacDistanceIndexFun(toOutput(), r, q, &distance, 0.98F, 1,
                                                          descriptorLength, 1, descriptorLength, matches);
              })}) {
            EXPECT_FALSE(said.result);
            EXPECT_EQ(said.lines, Lines{"calacDistanceIndexFun ptr is null"});
        }
    }
}

TEST(GatherMatchedPoints, PairsPreviousAndCurrentInMatchOrderAndConsumesItsInputs) {
    std::vector<CornerPoint> previous{{1, 2}, {3, 4}};
    std::vector<CornerPoint> current{{10, 20}, {30, 40}, {50, 60}};
    Matches matches{{2, 0}, {0, 1}, {1, 0}};
    std::vector<CornerPoint> a;
    std::vector<CornerPoint> b;
    EXPECT_TRUE(gatherMatchedPoints(previous, current, matches, a, b));
    EXPECT_EQ(a, (std::vector<CornerPoint>{{1, 2}, {3, 4}, {1, 2}}));
    EXPECT_EQ(b, (std::vector<CornerPoint>{{50, 60}, {10, 20}, {30, 40}}));
    EXPECT_TRUE(previous.empty() && current.empty() && matches.empty());
}

TEST(GatherMatchedPoints, AnIndexOutsideItsListIsAnError) {
    for (const Match& bad : {Match{1, 0}, Match{0, 1}, Match{-1, 0}, Match{0, -1}}) {
        std::vector<CornerPoint> previous{{1, 2}};
        std::vector<CornerPoint> current{{10, 20}};
        Matches matches{bad};
        std::vector<CornerPoint> a;
        std::vector<CornerPoint> b;
        EXPECT_THROW(gatherMatchedPoints(previous, current, matches, a, b), std::out_of_range);
    }
}

}  // namespace
}  // namespace test
}  // namespace brantel
