// The canvas grows on the side that needs it, and everything on it moves along.
#include <gtest/gtest.h>

#include <cstdlib>

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

TEST(GrowingCanvas, ACanvasThatAHostHoldsIsNotTouchedByLaterGrowth) {
    const Picture picture = makePicture(Texture::grains, rows, cols + 3000, 1, 31);
    Session session({rows, cols, 1, 1, 0, 8});
    Frame first = picture.window(0, 0, rows, cols);
    StitchOutputs before = session.start(first, picture.window(600, 0, rows, cols));
    for (std::int32_t x = 1200; x <= 2400; x += 600) before = session.next(picture.window(x, 0, rows, cols));
    ASSERT_EQ(before.mosaic.cols, 6000);
    const std::uint64_t hash = hashOf(before.mosaic.data, before.mosaic.total());
    const StitchOutputs after = session.next(picture.window(3000, 0, rows, cols));
    ASSERT_EQ(after.mosaic.cols, 6000 + cols);
    EXPECT_EQ(before.mosaic.cols, 6000);
    EXPECT_EQ(hashOf(before.mosaic.data, before.mosaic.total()), hash);
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
