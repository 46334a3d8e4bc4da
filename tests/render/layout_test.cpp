#include "picture/layout.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace brantel::test {
namespace {

using render::Layout;
using render::layOut;

TEST(PictureLayout, RoundsHalvesUpAndBeginsAtZero) {
    cv::Point origin;
    const Layout layout =
        layOut({7, 3, 9}, {{0.5, -0.5}, {-2.5, 1.49}, {10.2, -3.51}}, {8, 6}, CV_8UC3, origin);
    EXPECT_EQ(origin, cv::Point(-2, -4));
    ASSERT_EQ(layout.frames.size(), 3U);
    EXPECT_EQ(layout.frames[0].frame, 7U);
    EXPECT_EQ(layout.frames[0].at, cv::Point(3, 4));
    EXPECT_EQ(layout.frames[1].frame, 3U);
    EXPECT_EQ(layout.frames[1].at, cv::Point(0, 5));
    EXPECT_EQ(layout.frames[2].at, cv::Point(12, 0));
    EXPECT_EQ(layout.frames[2].gain, 1);
    EXPECT_EQ(layout.size, cv::Size(20, 11));
    EXPECT_EQ(layout.frameSize, cv::Size(8, 6));
    EXPECT_EQ(layout.type, CV_8UC3);
}

TEST(PictureLayout, OfNoFramesIsEmpty) {
    cv::Point origin(5, 5);
    const Layout layout = layOut({}, {}, {8, 6}, CV_8UC1, origin);
    EXPECT_EQ(layout.size, cv::Size(0, 0));
    EXPECT_EQ(origin, cv::Point(0, 0));
}

TEST(PictureLayout, RefusesPlacesThatNoPictureHolds) {
    cv::Point origin;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double x : {nan, infinite, -infinite, 1e300, 2e9, -2e9})
        EXPECT_THROW(layOut({0, 1}, {{0, 0}, {x, 0}}, {8, 6}, CV_8UC1, origin), std::runtime_error) << x;
    EXPECT_THROW(layOut({0, 1}, {{-1e9, 0}, {1e9, 0}}, {200000000, 6}, CV_8UC1, origin), std::runtime_error);
}

}  // namespace
}  // namespace brantel::test
