// Matching through whole numbers and with helping hands against all distances in single precision.
#include "registration/matching.h"

#include <algorithm>

#include "common/tuning.h"
#include "plain/matching.h"
#include "simd/at_level.h"
#include "simd/crew.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Descriptors = std::vector<std::uint16_t>;
using Pairs = std::vector<std::pair<std::int32_t, std::int32_t>>;

Pairs pairsOf(const std::vector<Match>& matches) {
    Pairs pairs;
    for (const Match& match : matches) pairs.emplace_back(match.current, match.previous);
    return pairs;
}

class Matching : public AtLevel {
  protected:
    void expectPlainMatches(const Descriptors& reference, const Descriptors& query, std::int32_t length,
                            std::int32_t stride, float ratio) {
        const auto references = static_cast<std::int32_t>(reference.size()) / stride;
        const auto queries = static_cast<std::int32_t>(query.size()) / length;
        std::vector<float> distances(references);
        std::vector<Match> expected{{7, 7}};  // matches are appended
        plain::calacDistanceIndexFun(reference.data(), query.data(), distances.data(), ratio, references,
                                     stride, queries, length, expected);
        const Place& place = places[reference.size() % 6];
        const auto guardedReference = placed(reference, place);
        const auto guardedQuery = placed(query, place);
        for (WorkerPair* workers : {static_cast<WorkerPair*>(nullptr), crew_.workers()}) {
            GuardedBuffer<float> scratch(references * (workers != nullptr ? crewSize : 1));
            std::vector<Match> found{{7, 7}};
            ASSERT_TRUE(calacDistanceIndexFun(guardedReference->data(), guardedQuery->data(), scratch.data(),
                                              ratio, references, stride, queries, length, found, workers));
            ASSERT_EQ(pairsOf(found), pairsOf(expected));
            ASSERT_TRUE(scratch.intact());
        }
        matches_ += expected.size() - 1;
        queries_ += queries;
    }

    Crew crew_;
    std::size_t matches_ = 0;
    std::size_t queries_ = 0;
};

Descriptors someDescriptors(std::int64_t values, std::int32_t largest, Random& random) {
    Descriptors all(static_cast<std::size_t>(values));
    for (std::uint16_t& value : all) value = static_cast<std::uint16_t>(random.between(0, largest));
    return all;
}

TEST_P(Matching, OfSmallSumsOfEveryLength) {
    Random random(31);
    for (const std::int32_t length : {1, 2, 15, 16, 17, 95, 96, 97, 191, 192, 193, 200, 255, 256, 257, 300})
        for (const std::int32_t references : {1, 2, 3, 40}) {
            const Descriptors reference = someDescriptors(references * length, 60, random);
            Descriptors query = someDescriptors(std::int64_t{37} * length, 60, random);
            std::copy_n(reference.begin(), length, query.begin() + 3 * length);  // distance 0
            for (const float ratio : {matchRatio, 0.5F, 1.0F, 3.0F, 0.0F, -1.0F})
                expectPlainMatches(reference, query, length, length, ratio);
        }
    EXPECT_GT(matches_, 0U);
    EXPECT_LT(matches_, queries_);
}

TEST_P(Matching, OfReferencesWithAStride) {
    Random random(32);
    const Descriptors reference = someDescriptors(std::int64_t{60} * 213, 6400, random);
    const Descriptors query = someDescriptors(std::int64_t{50} * 200, 6400, random);
    expectPlainMatches(reference, query, 200, 213, matchRatio);
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
            expectPlainMatches(reference, query, descriptorLength, descriptorLength, matchRatio);
        }
}

TEST_P(Matching, OfEqualDescriptors) {
    for (const std::uint16_t value : {0, 5, 6400, 6401})
        for (const std::int32_t references : {1, 2, 3, 20}) {
            const Descriptors reference(references * descriptorLength, value);
            expectPlainMatches(reference, Descriptors(20 * descriptorLength, value), descriptorLength,
                               descriptorLength, matchRatio);
            expectPlainMatches(reference, Descriptors(20 * descriptorLength, 9), descriptorLength,
                               descriptorLength, matchRatio);
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
                expectPlainMatches(reference, query, descriptorLength, descriptorLength, ratio);
        }
    EXPECT_GT(turned, 50);
    EXPECT_GT(matches_, 0U);
    EXPECT_LT(matches_, queries_);
}

TEST_P(Matching, OfMixedDescriptorsAsFramesHaveThem) {
    Random random(35);
    for (const std::int32_t largest : {200, 900, 3000}) {
        const Descriptors reference = someDescriptors(std::int64_t{120} * descriptorLength, largest, random);
        Descriptors query = reference;  // each near one of them
        for (std::uint16_t& value : query)
            value = static_cast<std::uint16_t>(
                std::clamp(value + random.between(-largest / 2, largest / 2), 0, 6400));
        expectPlainMatches(reference, query, descriptorLength, descriptorLength, matchRatio);
    }
    EXPECT_GT(matches_, 0U);
}

BRANTEL_AT_EVERY_LEVEL(Matching);

}  // namespace
}  // namespace brantel::test
