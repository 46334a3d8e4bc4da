// The nearest descriptor wins when it is clearly nearer than the second.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "common/tuning.h"
#include "registration/matching.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {

static bool operator==(const Match& a, const Match& b) {
    return a.current == b.current && a.previous == b.previous;
}

namespace {

using test::Lines;
using test::listen;

constexpr std::int32_t length = 200;
using Descriptors = std::vector<std::uint16_t>;

/// Descriptors as they occur: values of 0 to 16 * 360.
Descriptors randomDescriptors(std::int32_t count, std::int32_t highest, std::uint64_t seed) {
    test::Random random(seed);
    Descriptors values(static_cast<std::size_t>(count) * length);
    for (std::uint16_t& value : values) value = static_cast<std::uint16_t>(random.between(0, highest));
    return values;
}

struct Extremes {
    float minimum = -1;
    float maximum = -1;
    std::int32_t index = -1;
    bool result = false;
};

Extremes extremesOf(const std::vector<float>& values, std::int32_t count) {
    Extremes e;
    e.result = findMinIndex(values.data(), count, &e.minimum, &e.maximum, &e.index);
    return e;
}

std::vector<Match> literalMatches(const Descriptors& reference, const Descriptors& query) {
    const std::size_t references = reference.size() / length;
    std::vector<Match> matches;
    for (std::size_t i = 0; i < query.size() / length; ++i) {
        std::vector<float> distance(references);
        for (std::size_t j = 0; j < references; ++j)
            for (std::size_t k = 0; k < length; ++k) {
                const std::int32_t difference =
                    std::int32_t{query[i * length + k]} - std::int32_t{reference[j * length + k]};
                distance[j] += static_cast<float>(difference * difference);
            }
        const Extremes first = extremesOf(distance, static_cast<std::int32_t>(references));
        distance[first.index] = first.maximum;
        const Extremes second = extremesOf(distance, static_cast<std::int32_t>(references));
        if (0.98F > first.minimum / second.minimum)
            matches.push_back({static_cast<std::int32_t>(i), first.index});
    }
    return matches;
}

std::vector<Match> matchesOf(const Descriptors& reference, const Descriptors& query) {
    const auto references = static_cast<std::int32_t>(reference.size() / length);
    const auto queries = static_cast<std::int32_t>(query.size() / length);
    const auto guardedReference = test::GuardedBuffer<std::uint16_t>::copyOf(reference);
    const auto guardedQuery = test::GuardedBuffer<std::uint16_t>::copyOf(query);
    test::GuardedBuffer<float> distances(static_cast<std::size_t>(references));
    std::vector<Match> matches;
    EXPECT_TRUE(calacDistanceIndexFun(guardedReference->data(), guardedQuery->data(), distances.data(), 0.98F,
                                      references, length, queries, length, matches));
    EXPECT_TRUE(distances.intact());
    return matches;
}

Descriptors join(const std::vector<Descriptors>& parts) {
    Descriptors all;
    for (const Descriptors& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

Descriptors constantDescriptor(std::uint16_t value) {
    return Descriptors(length, value);
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
    const auto said = listen([&] { return findMinIndex(nullptr, 4, &a, &a, &index); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"findMinIndex ptr is null"});
}

TEST(Matching, TheRatioIsNinetyEightHundredthsInSinglePrecision) {
    EXPECT_EQ(matchRatio, 0.98F);
}

TEST(Matching, AgreesWithTheDefinitionForRandomDescriptors) {
    for (const std::int32_t highest : {1, 3, 400, 5760})
        for (std::uint64_t seed = 0; seed < 6; ++seed) {
            const Descriptors reference = randomDescriptors(37, highest, seed);
            const Descriptors query = randomDescriptors(29, highest, seed + 100);
            ASSERT_EQ(matchesOf(reference, query), literalMatches(reference, query))
                << highest << " " << seed;
        }
}

TEST(Matching, AgreesWithTheDefinitionForNoisyCopies) {
    Descriptors reference = randomDescriptors(80, 900, 1);
    Descriptors query = reference;
    test::Random random(4);
    for (std::uint16_t& value : query) value = static_cast<std::uint16_t>(value + random.between(0, 60));
    const std::vector<Match> matches = matchesOf(reference, query);
    EXPECT_EQ(matches, literalMatches(reference, query));
    EXPECT_EQ(matches.size(), 80U);
    for (const Match& match : matches) EXPECT_EQ(match.current, match.previous);
}

TEST(Matching, SumsBeyond24BitsRoundLikeTheWrittenOrder) {
    // values up to 46340 keep each square within 32 bits while the float sum rounds at nearly every step
    const Descriptors reference = randomDescriptors(20, 46340, 8);
    Descriptors query = randomDescriptors(20, 46340, 9);
    EXPECT_EQ(matchesOf(reference, query), literalMatches(reference, query));
    Descriptors near = reference;
    for (std::size_t i = 0; i < near.size(); i += 3) near[i] = static_cast<std::uint16_t>(near[i] ^ 0x3FU);
    EXPECT_EQ(matchesOf(reference, near), literalMatches(reference, near));
}

TEST(Matching, ZeroOverZeroIsNoMatch) {
    const Descriptors twin = constantDescriptor(7);
    // nearest 0 is replaced by the farthest, which is 0 as well
    EXPECT_TRUE(matchesOf(join({twin, twin}), twin).empty());
    // with a third one the second of the twins is still at 0
    EXPECT_TRUE(matchesOf(join({twin, twin, constantDescriptor(99)}), twin).empty());
}

TEST(Matching, ZeroDistanceWithADistantSecondAlwaysMatches) {
    const auto matches =
        matchesOf(join({constantDescriptor(9), constantDescriptor(7)}), constantDescriptor(7));
    EXPECT_EQ(matches, (std::vector<Match>{{0, 1}}));
}

TEST(Matching, ASingleReferenceNeverMatches) {
    EXPECT_TRUE(matchesOf(constantDescriptor(7), constantDescriptor(9)).empty()) << "ratio 1";
    EXPECT_TRUE(matchesOf(constantDescriptor(7), constantDescriptor(7)).empty()) << "no number";
}

TEST(Matching, EquallyDistantReferencesAreTooClose) {
    EXPECT_TRUE(
        matchesOf(join({constantDescriptor(5), constantDescriptor(9)}), constantDescriptor(7)).empty());
}

TEST(Matching, TwoReferencesAreComparedWithTheFartherOne) {
    // with two references the second nearest is the farthest: replaced nearest equals it
    const auto matches =
        matchesOf(join({constantDescriptor(10), constantDescriptor(8)}), constantDescriptor(7));
    EXPECT_EQ(matches, (std::vector<Match>{{0, 1}}));
}

TEST(Matching, SeveralQueriesMayShareAReference) {
    const auto matches = matchesOf(join({constantDescriptor(100), constantDescriptor(500)}),
                                   join({constantDescriptor(100), constantDescriptor(101)}));
    EXPECT_EQ(matches, (std::vector<Match>{{0, 0}, {1, 0}}));
}

TEST(Matching, TheRatioTestIsStrict) {
    // distances 98 and 100 in one element each: 98 / 100 in float is not below 0.98F
    Descriptors query = constantDescriptor(0);
    Descriptors a = query;
    Descriptors b = query;
    for (std::size_t k = 0; k < 98; ++k) a[k] = 1;
    for (std::size_t k = 0; k < 100; ++k) b[k] = 1;
    EXPECT_EQ(98.0F / 100.0F, 0.98F);
    EXPECT_TRUE(matchesOf(join({a, b}), query).empty());
    a[97] = 0;
    EXPECT_EQ(matchesOf(join({a, b}), query).size(), 1U);
}

TEST(Matching, AppendsBehindWhatTheListHoldsAndReadsWithItsStride) {
    const Descriptors one = constantDescriptor(7);
    const Descriptors far = constantDescriptor(90);
    Descriptors spaced = join({one, Descriptors(13, 1), far});
    float distances[2];
    std::vector<Match> matches{{5, 5}};
    EXPECT_TRUE(calacDistanceIndexFun(spaced.data(), one.data(), distances, 0.98F, 2, length + 13, 1, length,
                                      matches));
    EXPECT_EQ(matches, (std::vector<Match>{{5, 5}, {0, 0}}));
}

TEST(Matching, NothingToMatchIsASuccess) {
    const Descriptors one = constantDescriptor(7);
    float distance = 0;
    std::vector<Match> matches;
    EXPECT_TRUE(
        calacDistanceIndexFun(one.data(), one.data(), &distance, 0.98F, 1, length, 0, length, matches));
    EXPECT_TRUE(
        calacDistanceIndexFun(one.data(), one.data(), &distance, 0.98F, 0, length, 1, length, matches));
    EXPECT_TRUE(matches.empty());
}

TEST(Matching, RefusesNullDescriptors) {
    const Descriptors one = constantDescriptor(7);
    float distance = 0;
    std::vector<Match> matches;
    for (const auto& [reference, query] :
         {std::pair<const std::uint16_t*, const std::uint16_t*>{nullptr, one.data()},
          {one.data(), nullptr}}) {
        const auto* r = reference;
        const auto* q = query;
        const auto said = listen(
            [&] { return calacDistanceIndexFun(r, q, &distance, 0.98F, 1, length, 1, length, matches); });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"calacDistanceIndexFun ptr is null"});
    }
}

TEST(GatherMatchedPoints, PairsPreviousAndCurrentInMatchOrderAndConsumesItsInputs) {
    std::vector<CornerPoint> previous{{1, 2}, {3, 4}};
    std::vector<CornerPoint> current{{10, 20}, {30, 40}, {50, 60}};
    std::vector<Match> matches{{2, 0}, {0, 1}, {1, 0}};
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
        std::vector<Match> matches{bad};
        std::vector<CornerPoint> a;
        std::vector<CornerPoint> b;
        EXPECT_THROW(gatherMatchedPoints(previous, current, matches, a, b), std::out_of_range);
    }
}

}  // namespace
}  // namespace brantel
