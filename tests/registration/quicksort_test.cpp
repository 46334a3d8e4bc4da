// Where equal keys end decides which corners survive, so the sort is held against its own literal text.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <thread>

#include "registration/thinning.h"
#include "support/picture.h"

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace brantel {
namespace {

struct Sorted {
    std::vector<float> keys;
    std::vector<std::int32_t> indices;
};

/// First element as pivot, right scan, left scan, hole filling, no step after a move; plain recursion.
void literalQuickSort(Sorted& s, std::int32_t low, std::int32_t high) {
    if (low >= high) return;
    const float pivot = s.keys[low];
    const std::int32_t pivotIndex = s.indices[low];
    std::int32_t left = low;
    std::int32_t right = high;
    while (left < right) {
        while (left < right && pivot >= s.keys[right]) right--;
        s.keys[left] = s.keys[right];
        s.indices[left] = s.indices[right];
        while (left < right && s.keys[left] >= pivot) left++;
        s.keys[right] = s.keys[left];
        s.indices[right] = s.indices[left];
    }
    s.keys[left] = pivot;
    s.indices[left] = pivotIndex;
    literalQuickSort(s, low, left - 1);
    literalQuickSort(s, left + 1, high);
}

Sorted withIndices(std::vector<float> keys) {
    Sorted s{std::move(keys), {}};
    s.indices.resize(s.keys.size());
    std::iota(s.indices.begin(), s.indices.end(), 0);
    return s;
}

std::vector<float> randomKeys(std::size_t count, std::int32_t distinct, std::uint64_t seed) {
    test::Random random(seed);
    std::vector<float> keys(count);
    for (float& key : keys) key = static_cast<float>(random.between(0, distinct - 1));
    return keys;
}

void expectLikeLiteral(const std::vector<float>& keys, std::int32_t low, std::int32_t high) {
    Sorted expected = withIndices(keys);
    Sorted actual = expected;
    literalQuickSort(expected, low, high);
    quickSortDescending(actual.keys, actual.indices, low, high);
    ASSERT_EQ(actual.keys, expected.keys);
    ASSERT_EQ(actual.indices, expected.indices);
}

TEST(QuickSortDescending, MovesEveryIndexLikeTheLiteralTextForRandomKeys) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        const auto count = static_cast<std::size_t>(1 + seed * 7 % 300);
        expectLikeLiteral(randomKeys(count, 1 << 20, seed), 0, static_cast<std::int32_t>(count) - 1);
    }
}

TEST(QuickSortDescending, PlacesTiesLikeTheLiteralText) {
    for (const std::int32_t distinct : {1, 2, 3, 5, 17})
        for (std::uint64_t seed = 0; seed < 100; ++seed) {
            const auto count = static_cast<std::size_t>(2 + seed * 13 % 250);
            expectLikeLiteral(randomKeys(count, distinct, seed), 0, static_cast<std::int32_t>(count) - 1);
        }
}

TEST(QuickSortDescending, IsNotAStableSort) {
    Sorted actual = withIndices({1, 2, 2, 3});
    quickSortDescending(actual.keys, actual.indices, 0, 3);
    EXPECT_EQ(actual.keys, (std::vector<float>{3, 2, 2, 1}));
    EXPECT_EQ(actual.indices, (std::vector<std::int32_t>{3, 1, 2, 0}));
    Sorted other = withIndices({2, 1, 3, 2});
    quickSortDescending(other.keys, other.indices, 0, 3);
    EXPECT_EQ(other.indices, (std::vector<std::int32_t>{2, 0, 3, 1}));
    Sorted third = withIndices({5, 7, 5, 7, 5, 9});
    Sorted literal = third;
    quickSortDescending(third.keys, third.indices, 0, 5);
    literalQuickSort(literal, 0, 5);
    EXPECT_EQ(third.indices, literal.indices);
}

TEST(QuickSortDescending, LeavesWhatLiesOutsideTheRangeAlone) {
    for (std::uint64_t seed = 0; seed < 50; ++seed) expectLikeLiteral(randomKeys(60, 9, seed), 13, 41);
}

TEST(QuickSortDescending, ReturnsAtOnceForAnEmptyOrSingleRange) {
    Sorted actual = withIndices({1, 2, 3});
    quickSortDescending(actual.keys, actual.indices, 1, 1);
    quickSortDescending(actual.keys, actual.indices, 2, 0);
    quickSortDescending(actual.keys, actual.indices, 0, -1);
    EXPECT_EQ(actual.keys, (std::vector<float>{1, 2, 3}));
    std::vector<float> none;
    std::vector<std::int32_t> noIndices;
    quickSortDescending(none, noIndices, 0, -1);
    EXPECT_TRUE(none.empty());
}

TEST(QuickSortDescending, SortsAscendingAndDescendingRunsLikeTheLiteralText) {
    std::vector<float> keys(2000);
    std::iota(keys.begin(), keys.end(), 0.0F);
    expectLikeLiteral(keys, 0, 1999);
    std::reverse(keys.begin(), keys.end());
    expectLikeLiteral(keys, 0, 1999);
    expectLikeLiteral(std::vector<float>(2000, 65535.0F), 0, 1999);
}

#if !defined(_WIN32)
/// Runs on a thread whose stack would hold no recursion per element.
void onSmallStack(void (*run)(void*), void* context) {
    struct Call {
        void (*run)(void*);
        void* context;
    } call{run, context};
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    pthread_t thread{};
    auto body = [](void* argument) -> void* {
        const auto* c = static_cast<Call*>(argument);
        c->run(c->context);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, &call), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(QuickSortDescending, NeedsNoDeepStackFor100000AscendingKeys) {
    std::vector<float> keys(100000);
    std::iota(keys.begin(), keys.end(), 1.0F);
    Sorted actual = withIndices(keys);
    onSmallStack(
        [](void* s) {
            auto* sorted = static_cast<Sorted*>(s);
            quickSortDescending(sorted->keys, sorted->indices, 0, 99999);
        },
        &actual);
    for (std::int32_t i = 0; i < 100000; ++i) ASSERT_EQ(actual.indices[i], 99999 - i);
    EXPECT_TRUE(std::is_sorted(actual.keys.rbegin(), actual.keys.rend()));
}

TEST(QuickSortDescending, NeedsNoDeepStackForEqualOrDescendingKeys) {
    std::vector<float> keys(30000, 65535.0F);
    Sorted equal = withIndices(keys);
    std::iota(keys.rbegin(), keys.rend(), 1.0F);
    Sorted descending = withIndices(keys);
    for (Sorted* sorted : {&equal, &descending}) {
        onSmallStack(
            [](void* s) {
                auto* each = static_cast<Sorted*>(s);
                quickSortDescending(each->keys, each->indices, 0, 29999);
            },
            sorted);
        for (std::int32_t i = 0; i < 30000; ++i) ASSERT_EQ(sorted->indices[i], i);
    }
}
#endif

}  // namespace
}  // namespace brantel
