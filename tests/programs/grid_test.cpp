#include "stitch/grid.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

TEST(ParseGrid, KnowsSidesSnakeAndOverlap) {
    const auto plain = parseGrid("5x3");
    ASSERT_TRUE(plain.has_value());
    EXPECT_EQ(plain->columns, 5);
    EXPECT_EQ(plain->rows, 3);
    EXPECT_FALSE(plain->snake);
    EXPECT_EQ(plain->overlap, 0.2);
    const auto full = parseGrid("4x2,snake,overlap=35");
    ASSERT_TRUE(full.has_value());
    EXPECT_TRUE(full->snake);
    EXPECT_EQ(full->overlap, 0.35);
    for (const char* text : {"", "5", "x3", "0x3", "5x-1", "5x3,", "5x3,zigzag",
                             "5x3,overlap=", "5x3,overlap=0", "5x3,overlap=95", "5x3x2", "5,3"})
        EXPECT_FALSE(parseGrid(text).has_value()) << text;
}

TEST(Grid, GoesRowByRow) {
    const Grid grid{3, 2, false, 0.25};
    const cv::Size frame(400, 200);
    EXPECT_EQ(*grid.placeOf(0, frame), cv::Point2d(0, 0));
    EXPECT_EQ(*grid.placeOf(2, frame), cv::Point2d(600, 0));
    EXPECT_EQ(*grid.placeOf(3, frame), cv::Point2d(0, 150));
    EXPECT_FALSE(grid.placeOf(6, frame).has_value());
}

TEST(Grid, OfASnakeTurnsRoundAtTheEndOfARow) {
    const Grid grid{3, 3, true, 0.5};
    const cv::Size frame(100, 100);
    EXPECT_EQ(*grid.placeOf(3, frame), cv::Point2d(100, 50));
    EXPECT_EQ(*grid.placeOf(5, frame), cv::Point2d(0, 50));
    EXPECT_EQ(*grid.placeOf(6, frame), cv::Point2d(0, 100));
}

}  // namespace
}  // namespace brantel::programs
