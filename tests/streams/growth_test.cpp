// The canvas grows on the side that needs it, and everything on it moves along.
#include <gtest/gtest.h>

#include <cstdlib>
#include <opencv2/core.hpp>

#include "streams/straight_camera.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 700;
constexpr std::int32_t cols = 900;

struct Growth {
    const char* name;
    std::int32_t dx;
    std::int32_t dy;
    std::int32_t steps;
};

std::ostream& operator<<(std::ostream& out, const Growth& each) {
    return out << each.name;
}

class GrowingCanvas : public testing::TestWithParam<Growth> {};
INSTANTIATE_TEST_SUITE_P(Sides, GrowingCanvas,
                         testing::Values(Growth{"left", -600, 0, 5}, Growth{"right", 600, 0, 5},
                                         Growth{"top", 0, -470, 6}, Growth{"bottom", 0, 470, 6},
                                         Growth{"topLeft", -520, -460, 6}, Growth{"bottomRight", 520, 460, 6},
                                         Growth{"topRight", 520, -460, 6},
                                         Growth{"bottomLeft", -520, 460, 6}),
                         [](const auto& info) { return info.param.name; });

/// How often a path that started in the middle has to grow by one frame to keep its margin.
std::int32_t growths(std::int32_t step, std::int32_t steps, std::int32_t side) {
    const std::int32_t start = 3000 - side / 2;
    const std::int32_t reach = std::abs(step) * steps;
    std::int32_t count = 0;
    if (step < 0) {
        while (start + count * side - reach < 1) ++count;
    } else if (step > 0) {
        while (start + reach + side > 6000 + count * side - 1) ++count;
    }
    return count;
}

TEST_P(GrowingCanvas, KeepsEveryFrameInPlaceAndGrowsByOneFrame) {
    const Growth grow = GetParam();
    const std::int32_t width = cols + std::abs(grow.dx) * grow.steps;
    const std::int32_t height = rows + std::abs(grow.dy) * grow.steps;
    const Picture picture = makePicture(Texture::grains, height, width, 1, 31);
    const Spot from{grow.dx < 0 ? width - cols : 0, grow.dy < 0 ? height - rows : 0};
    Session session({rows, cols, 1, 1, 0, 8});
    const Path path = straightPath(from, grow.dx, grow.dy, grow.steps);
    const FollowReport report = follow(session, picture, path, rows, cols);
    ASSERT_EQ(report.wrong, 0) << report.summary();
    ASSERT_EQ(report.placed, grow.steps + 1) << report.summary();
    const std::int32_t across = growths(grow.dx, grow.steps, cols);
    const std::int32_t down = growths(grow.dy, grow.steps, rows);
    EXPECT_GE(across + down, 1) << "the path must leave the canvas";
    EXPECT_EQ(report.last.mosaic.cols, 6000 + across * cols);
    EXPECT_EQ(report.last.mosaic.rows, 6000 + down * rows);
    EXPECT_EQ(report.last.maxCorner.x - report.last.minCorner.x, width);
    EXPECT_EQ(report.last.maxCorner.y - report.last.minCorner.y, height);
    // the first frame's corner, far from every seam, came along
    const std::int32_t x = report.origin.x + (grow.dx > 0 ? 3 : cols - 4);
    const std::int32_t y = report.origin.y + (grow.dy > 0 ? 3 : rows - 4);
    const int sample = report.last.mosaic.ptr(y)[x];
    const std::int32_t px = x - report.origin.x + path[0].x;
    const std::int32_t py = y - report.origin.y + path[0].y;
    EXPECT_NEAR(sample, picture.pixels[std::size_t(py) * picture.cols + px], 3);
}

class StraightScan : public testing::Test, protected StraightCamera {};

TEST_F(StraightScan, HeadersThatAHostKeepsKeepSizeAndPlaceAndStayReadable) {
    for (const auto& [dx, dy] : {std::pair{step, 0}, {-step, 0}, {0, step}, {0, -step}}) {
        const StitchOutputs first = scan(dx, dy, 10);  // one more does not fit
        const cv::Mat beforeGrowth = first.mosaic;
        const std::uint64_t hash = hashOf(beforeGrowth);
        ASSERT_EQ(beforeGrowth.size(), cv::Size(6000, 6000));
        const StitchOutputs grown = goOn(dx, dy, 4);
        ASSERT_GT(grown.mosaic.total(), beforeGrowth.total());
        EXPECT_EQ(beforeGrowth.size(), cv::Size(6000, 6000));
        EXPECT_EQ(hashOf(beforeGrowth), hash) << "the first growth moves to larger memory";
        const cv::Mat kept = grown.mosaic;
        const cv::Mat state = kept.clone();
        const StitchOutputs later = goOn(dx, dy, 6);
        ASSERT_GT(later.mosaic.total(), kept.total());
        EXPECT_EQ(kept.size(), state.size());
        // The frame that was last then may be blended with the next one by now.
        const cv::Rect all(grown.minCorner.x, grown.minCorner.y, grown.maxCorner.x - grown.minCorner.x,
                           grown.maxCorner.y - grown.minCorner.y);
        const cv::Rect settled(all.x + (dx < 0 ? frameSide : 0), all.y + (dy < 0 ? frameSide : 0),
                               all.width - (dx != 0 ? frameSide : 0), all.height - (dy != 0 ? frameSide : 0));
        EXPECT_EQ(hashOf(kept(settled)), hashOf(state(settled))) << dx << ", " << dy;
    }
}

TEST_F(StraightScan, SeldomMovesToOtherMemory) {
    const StitchOutputs grown = scan(step, 0, 14);
    ASSERT_GT(grown.mosaic.cols, 6000);
    const std::uint8_t* pixels = grown.mosaic.data;
    int moves = 0;
    StitchOutputs later;
    for (int i = 0; i < 40; ++i) {
        later = goOn(step, 0, 1);
        moves += later.mosaic.data != pixels ? 1 : 0;
        pixels = later.mosaic.data;
    }
    EXPECT_GT(later.mosaic.cols, 6000 + 20 * frameSide);
    EXPECT_LE(moves, 3) << "each time the room doubles at least";
}

TEST_F(StraightScan, OnlyGrowthToTheSidesLeavesGapsBetweenTheRows) {
    EXPECT_TRUE(scan(step, 0, 5).mosaic.isContinuous());
    EXPECT_TRUE(scan(0, step, 30).mosaic.isContinuous());
    EXPECT_TRUE(scan(0, -step, 30).mosaic.isContinuous());
    const StitchOutputs wide = scan(step, 0, 30);
    EXPECT_GT(wide.mosaic.step[0], static_cast<std::size_t>(wide.mosaic.cols));
}

TEST_F(StraightScan, ThereAndBackOnEverySideGivesThePictureOfTheCameraInOnePlace) {
    // To the right edge and beyond, down, back over the left edge, up: every side grows, and some twice.
    scan(step, 0, 13);
    goOn(0, step, 12);
    goOn(-step, 0, 26);
    const StitchOutputs out = goOn(0, -step, 24);
    // A step may be measured 2 pixels beside the truth.
    EXPECT_NEAR(out.maxCorner.x - out.minCorner.x, 26 * step + frameSide, 20);
    EXPECT_NEAR(out.maxCorner.y - out.minCorner.y, 24 * step + frameSide, 20);
    const cv::Mat outside = out.mosaic.clone();
    outside(cv::Range(out.minCorner.y, out.maxCorner.y), cv::Range(out.minCorner.x, out.maxCorner.x))
        .setTo(0);
    EXPECT_EQ(cv::countNonZero(outside), 0) << "black beside the frames";
}

TEST(AreaLimit, TurnsTheResultTo1WhenGrowthReachesItAndStitchingGoesOn) {
    const Picture picture = makePicture(Texture::grains, rows, cols + 3600, 1, 31);
    Session session({rows, cols, 1, 1, 0, 8, 6000, 6001});
    Frame first = picture.window(0, 0, rows, cols);
    EXPECT_EQ(session.start(first, picture.window(600, 0, rows, cols)).result, 0);
    for (std::int32_t x = 1200; x <= 2400; x += 600)
        EXPECT_EQ(session.next(picture.window(x, 0, rows, cols)).result, 0);
    EXPECT_EQ(session.next(picture.window(3000, 0, rows, cols)).result, 1);
    const StitchOutputs on = session.next(picture.window(3600, 0, rows, cols));
    EXPECT_EQ(on.result, 1);
    EXPECT_EQ(on.flags.offset.x, 600);
    EXPECT_EQ(on.maxCorner.x - on.minCorner.x, cols + 3600);
}

}  // namespace
}  // namespace brantel::test
