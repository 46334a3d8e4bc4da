// The part of a frame that is searched under an expected shift.
#include "registration/expected_overlap.h"

#include <gtest/gtest.h>

namespace brantel {
namespace {

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 260;

void expectOverlap(FrameRole role, std::int32_t x, std::int32_t y, const ExpectedOverlap& expected) {
    SCOPED_TRACE(testing::Message() << (role == FrameRole::previous ? "previous " : "current ") << x << ", "
                                    << y);
    const ExpectedOverlap actual = expectedOverlap(role, {x, y, true}, rows, cols);
    EXPECT_EQ(actual.rowStart, expected.rowStart);
    EXPECT_EQ(actual.rowEnd, expected.rowEnd);
    EXPECT_EQ(actual.colStart, expected.colStart);
    EXPECT_EQ(actual.colEnd, expected.colEnd);
}

TEST(ExpectedOverlap, ThePreviousFramesPartFollowsItsTable) {
    expectOverlap(FrameRole::previous, -30, -20, {20, rows, 0, cols - 30});
    expectOverlap(FrameRole::previous, -30, 20, {0, rows - 20, 0, cols - 30});
    expectOverlap(FrameRole::previous, 30, -20, {0, rows - 20, 30, cols});
    expectOverlap(FrameRole::previous, 30, 20, {20, rows, 30, cols});
    expectOverlap(FrameRole::previous, -30, 0, {0, rows, 0, cols - 30});
    expectOverlap(FrameRole::previous, 0, -20, {0, rows - 20, 0, cols});
    expectOverlap(FrameRole::previous, 0, 20, {20, rows, 0, cols});
    expectOverlap(FrameRole::previous, 30, 0, {0, rows, 30, cols});
}

TEST(ExpectedOverlap, TheCurrentFramesPartFollowsItsTable) {
    expectOverlap(FrameRole::current, -30, -20, {0, rows - 20, 30, cols});
    expectOverlap(FrameRole::current, -30, 20, {20, rows, 30, cols});
    expectOverlap(FrameRole::current, 30, -20, {20, rows, 0, cols - 30});
    expectOverlap(FrameRole::current, 30, 20, {0, rows - 20, 0, cols - 30});
    expectOverlap(FrameRole::current, -30, 0, {0, rows, 30, cols});
    expectOverlap(FrameRole::current, 0, -20, {20, rows, 0, cols});
    expectOverlap(FrameRole::current, 0, 20, {0, rows - 20, 0, cols});
    expectOverlap(FrameRole::current, 30, 0, {0, rows, 0, cols - 30});
}

TEST(ExpectedOverlap, BothPartsAlwaysHaveTheSameSize) {
    for (const std::int32_t x : {-2147483647 - 1, -400, -260, -7, 0, 9, 260, 2147483647})
        for (const std::int32_t y : {-2147483647 - 1, -300, -200, -3, 0, 5, 200, 2147483647}) {
            const ExpectedOverlap a = expectedOverlap(FrameRole::previous, {x, y, true}, rows, cols);
            const ExpectedOverlap b = expectedOverlap(FrameRole::current, {x, y, true}, rows, cols);
            EXPECT_EQ(a.rowEnd - a.rowStart, b.rowEnd - b.rowStart);
            EXPECT_EQ(a.colEnd - a.colStart, b.colEnd - b.colStart);
            for (const ExpectedOverlap& part : {a, b}) {
                EXPECT_GE(part.rowStart, 0);
                EXPECT_GE(part.colStart, 0);
                EXPECT_LE(part.rowEnd, rows);
                EXPECT_LE(part.colEnd, cols);
                EXPECT_LE(part.rowStart, part.rowEnd);
                EXPECT_LE(part.colStart, part.colEnd);
            }
        }
}

}  // namespace
}  // namespace brantel
