// The sort behind thinning, against orders worked out by hand: where equal keys end decides which corners survive.
#include "reference/thinning.h"

#include <gtest/gtest.h>

#include <numeric>

namespace brantel::test {
namespace {

using Keys = std::vector<float>;
using Indices = std::vector<std::int32_t>;

Indices countedUp(std::size_t count) {
    Indices indices(count);
    std::iota(indices.begin(), indices.end(), 0);
    return indices;
}

void expectSorted(Keys keys, const Keys& sorted, const Indices& order) {
    Indices indices = countedUp(keys.size());
    reference::quickSortDescending(keys, indices, 0, static_cast<std::int32_t>(keys.size()) - 1);
    EXPECT_EQ(keys, sorted);
    EXPECT_EQ(indices, order);
}

TEST(QuickSortDescending, IsNotAStableSort) {
    expectSorted({1, 2, 2, 3}, {3, 2, 2, 1}, {3, 1, 2, 0});
    expectSorted({2, 1, 3, 2}, {3, 2, 2, 1}, {2, 0, 3, 1});
    expectSorted({5, 7, 5, 7, 5, 9}, {9, 7, 7, 5, 5, 5}, {5, 1, 3, 2, 4, 0});
    expectSorted({1, 3, 3, 1, 3, 1, 2}, {3, 3, 3, 2, 1, 1, 1}, {4, 1, 2, 6, 3, 5, 0});
}

TEST(QuickSortDescending, LeavesEqualAndDescendingKeysInPlace) {
    expectSorted(Keys(2000, 65535), Keys(2000, 65535), countedUp(2000));
    expectSorted({9, 7, 5, 3}, {9, 7, 5, 3}, countedUp(4));
}

TEST(QuickSortDescending, LeavesWhatLiesOutsideTheRangeAlone) {
    Keys keys{1, 2, 3, 4, 5, 6};
    Indices indices = countedUp(6);
    reference::quickSortDescending(keys, indices, 2, 4);
    EXPECT_EQ(keys, (Keys{1, 2, 5, 4, 3, 6}));
    EXPECT_EQ(indices, (Indices{0, 1, 4, 3, 2, 5}));
    reference::quickSortDescending(keys, indices, 1, 1);
    reference::quickSortDescending(keys, indices, 2, 0);
    reference::quickSortDescending(keys, indices, 0, -1);
    EXPECT_EQ(keys, (Keys{1, 2, 5, 4, 3, 6}));
}

}  // namespace
}  // namespace brantel::test
