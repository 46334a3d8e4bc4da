// The part of a frame that the GPU backends search under an expected shift.
#include "gpu/row_range.h"

#include <gtest/gtest.h>

#include <limits>

namespace brantel::test {

namespace {

constexpr std::int32_t rows = 217;
constexpr std::int32_t cols = 301;

struct Case {
    std::int32_t x;
    std::int32_t y;
    RowRange range;
};

// Shifts of different length in both directions, so that no two numbers can be mistaken for one another.
const Case cases[] = {
    {-40, -30, {187, 261, 0, 40, {40, 0}}}, {-40, 30, {187, 261, 30, 40, {0, 0}}},
    {40, -30, {187, 261, 30, 0, {0, 30}}},  {40, 30, {187, 261, 0, 0, {40, 30}}},
    {-40, 0, {217, 261, 0, 40, {0, 0}}},    {0, -30, {187, 301, 30, 0, {0, 30}}},
    {40, 0, {217, 261, 0, 0, {40, 0}}},     {0, 30, {187, 301, 0, 0, {0, 30}}},
    {0, 0, {217, 301, 0, 0, {0, 0}}},
};

TEST(RowRangeOfAShift, FollowsTheSigns) {
    for (const Case& expected : cases) {
        const RowRange range = rowRangeFor({expected.x, expected.y, true}, rows, cols);
        const std::string shift = std::to_string(expected.x) + ", " + std::to_string(expected.y);
        EXPECT_EQ(range.rows, expected.range.rows) << shift;
        EXPECT_EQ(range.cols, expected.range.cols) << shift;
        EXPECT_EQ(range.rowOffset, expected.range.rowOffset) << shift;
        EXPECT_EQ(range.colOffset, expected.range.colOffset) << shift;
        EXPECT_EQ(range.shift.x, expected.range.shift.x) << shift;
        EXPECT_EQ(range.shift.y, expected.range.shift.y) << shift;
    }
}

TEST(RowRangeOfAShift, StaysInTheFrame) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t x : {lowest, -cols, -cols + 1, -1, 0, 1, cols - 1, cols, highest})
        for (const std::int32_t y : {lowest, -rows, -rows + 1, -1, 0, 1, rows - 1, rows, highest}) {
            const RowRange range = rowRangeFor({x, y, true}, rows, cols);
            EXPECT_GE(range.rows, 0);
            EXPECT_GE(range.cols, 0);
            EXPECT_GE(range.rowOffset, 0);
            EXPECT_GE(range.colOffset, 0);
            EXPECT_LE(range.rowOffset + range.rows, rows) << x << ", " << y;
            EXPECT_LE(range.colOffset + range.cols, cols) << x << ", " << y;
        }
}

}  // namespace

}  // namespace brantel::test
