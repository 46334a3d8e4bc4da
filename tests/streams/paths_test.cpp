// Whole streams over generated pictures: every placed frame lies where the camera was.
#include <gtest/gtest.h>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 300;
constexpr std::int32_t cols = 400;

void expectAllPlaced(const FollowReport& report, const Path& path) {
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
    EXPECT_LE(report.worstError, 2) << report.summary();
}

class EveryTexture : public testing::TestWithParam<Texture> {};
INSTANTIATE_TEST_SUITE_P(Textures, EveryTexture,
                         testing::Values(Texture::fine, Texture::grains, Texture::grid),
                         [](const auto& info) { return nameOf(info.param); });

TEST_P(EveryTexture, SerpentineIsPlacedWithin2Pixels) {
    const Picture picture = makePicture(GetParam(), 800, 1400, 1, 11);
    Session session({rows, cols});
    const Path path = serpentinePath({8, 8}, 180, 150, 5, 2);
    expectAllPlaced(follow(session, picture, path, rows, cols), path);
}

TEST_P(EveryTexture, SpiralIsPlacedWithin2Pixels) {
    const Picture picture = makePicture(GetParam(), 1100, 1200, 1, 12);
    Session session({rows, cols});
    const Path path = spiralPath({400, 400}, 120, 8);
    expectAllPlaced(follow(session, picture, path, rows, cols), path);
}

TEST_P(EveryTexture, ColourIsPlacedLikeGrey) {
    const Picture picture = makePicture(GetParam(), 700, 1100, 3, 13);
    Session session({rows, cols, 3});
    const Path path = serpentinePath({8, 8}, 160, 140, 3, 2);
    expectAllPlaced(follow(session, picture, path, rows, cols), path);
}

TEST_P(EveryTexture, NoiseAndBrightnessDriftDoNoHarm) {
    const Picture picture = makePicture(GetParam(), 800, 1400, 1, 14);
    Session session({rows, cols});
    const Path path = serpentinePath({8, 8}, 140, 120, 5, 2);
    const FollowReport report =
        follow(session, picture, path, rows, cols, [](Frame& frame, std::size_t number) {
            changeBrightness(frame, static_cast<std::int32_t>(number % 7) * 3 - 9);
            addNoise(frame, 3, number);
        });
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed + report.refused + report.skipped, static_cast<int>(path.size()))
        << report.summary();
    EXPECT_GE(report.placed, static_cast<int>(path.size()) - 2) << report.summary();
}

TEST_P(EveryTexture, RandomWalkIsPlacedWithin2Pixels) {
    const Picture picture = makePicture(GetParam(), 900, 1100, 1, 15);
    Session session({rows, cols});
    const Path path = randomPath({300, 300}, {0, 0}, {700, 600}, 60, 150, 30, 5);
    const FollowReport report = follow(session, picture, path, rows, cols);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    // steps go up to 150 pixels along both axes at once: some overlaps are too thin, most in the grid
    EXPECT_GE(report.placed, GetParam() == Texture::grid ? 20 : 28) << report.summary();
}

struct Direction {
    const char* name;
    std::int32_t x;
    std::int32_t y;
};

std::ostream& operator<<(std::ostream& out, const Direction& each) {
    return out << each.name;
}

class EveryDirection : public testing::TestWithParam<Direction> {};
INSTANTIATE_TEST_SUITE_P(Directions, EveryDirection,
                         testing::Values(Direction{"right", 1, 0}, Direction{"left", -1, 0},
                                         Direction{"down", 0, 1}, Direction{"up", 0, -1},
                                         Direction{"rightDown", 1, 1}, Direction{"rightUp", 1, -1},
                                         Direction{"leftDown", -1, 1}, Direction{"leftUp", -1, -1}),
                         [](const auto& info) { return info.param.name; });

TEST_P(EveryDirection, StepsArePlacedAndTheBoundsFollow) {
    const Direction to = GetParam();
    const Picture picture = makePicture(Texture::fine, 1000, 1200, 1, 16);
    const Spot from{to.x < 0 ? 780 : 20, to.y < 0 ? 680 : 20};
    for (const std::int32_t mode : {0, 1}) {
        Session session({rows, cols, 1, mode});
        const Path path = straightPath(from, 120 * to.x, 100 * to.y, 6);
        const FollowReport report = follow(session, picture, path, rows, cols);
        expectAllPlaced(report, path);
        const int drift = report.worstDrift;
        const MosaicCorner low = report.last.minCorner;
        const MosaicCorner high = report.last.maxCorner;
        EXPECT_NEAR(high.x - low.x, cols + (to.x == 0 ? 0 : 720), drift);
        EXPECT_NEAR(high.y - low.y, rows + (to.y == 0 ? 0 : 600), drift);
        EXPECT_NEAR(low.x, report.origin.x - (to.x < 0 ? 720 : 0), drift);
        EXPECT_NEAR(low.y, report.origin.y - (to.y < 0 ? 600 : 0), drift);
    }
}

TEST(OddSteps, AreMeasuredWithinOnePixelEach) {
    const Picture picture = makePicture(Texture::fine, 700, 1200, 1, 17);
    Session session({rows, cols});
    Path path = straightPath({5, 5}, 101, 43, 6);
    Frame first = picture.window(path[0].x, path[0].y, rows, cols);
    for (std::size_t i = 1; i < path.size(); ++i) {
        const Frame frame = picture.window(path[i].x, path[i].y, rows, cols);
        const StitchOutputs out = i == 1 ? session.start(first, frame) : session.next(frame);
        ASSERT_EQ(out.result, 0);
        EXPECT_EQ(out.flags.offset.x % 2, 0) << "corners lie on even positions";
        EXPECT_EQ(out.flags.offset.y % 2, 0);
        // a template that was placed a pixel off is a pixel off for the next frame, too
        EXPECT_NEAR(out.flags.offset.x, 101, 2);
        EXPECT_NEAR(out.flags.offset.y, 43, 2);
    }
}

}  // namespace
}  // namespace brantel::test
