// Frames that overlap: the coarse shift finds where.
#include "coarse/coarse_shift.h"

#include <gtest/gtest.h>

#include "session/coarse_frames.h"

namespace brantel::test {
namespace {

constexpr double allowed = 0.75;  // pixels

void expectCertain(const FramePair& frames, double x, double y, double error = allowed) {
    const CoarseShift shift = matchOf(frames);
    EXPECT_EQ(shift.verdict, CoarseVerdict::certain) << shift;
    EXPECT_LE(errorOf(shift, x, y), error) << shift << " instead of (" << x << ", " << y << ")";
    EXPECT_GT(shift.confidence, 0.5);
    EXPECT_LE(shift.confidence, 1);
}

class EveryTexture : public testing::TestWithParam<Texture> {};

INSTANTIATE_TEST_SUITE_P(Textures, EveryTexture, testing::Values(Texture::fine, Texture::grains),
                         [](const auto& info) { return nameOf(info.param); });

TEST_P(EveryTexture, OverlapsFromFiveToNinetyPercentAreFoundInEveryDirection) {
    constexpr std::int32_t rows = 480;
    constexpr std::int32_t cols = 640;
    for (const std::int32_t percent : {5, 8, 12, 20, 35, 50, 70, 90})
        for (const auto& [across, down] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            const std::int32_t x = across * cols * (100 - percent) / 100 + down * 7;
            const std::int32_t y = down * rows * (100 - percent) / 100 - across * 5;
            SCOPED_TRACE(std::to_string(percent) + " %, " + std::to_string(x) + ", " + std::to_string(y));
            expectCertain(framesApart(GetParam(), rows, cols, x, y, 10 + percent), x, y);
        }
}

TEST_P(EveryTexture, DiagonalShiftsAreFound) {
    for (const auto& [x, y] : {std::pair{300, 250}, {-333, 201}, {411, -317}, {-60, -400}, {17, 31}}) {
        SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
        expectCertain(framesApart(GetParam(), 600, 800, x, y, 3), x, y);
    }
}

TEST_P(EveryTexture, FramesOfEverySizeAreCompared) {
    struct Size {
        std::int32_t rows, cols;
    };
    for (const auto& [rows, cols] : {Size{149, 162},
                                     {240, 320},
                                     {373, 300},
                                     {479, 641},
                                     {701, 633},
                                     {960, 1280},
                                     {1681, 353},
                                     {1201, 2001},
                                     {2048, 2448}}) {
        SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows));
        expectCertain(framesApart(GetParam(), rows, cols, cols / 2 + 1, rows / 9, 4), cols / 2 + 1, rows / 9);
    }
}

TEST_P(EveryTexture, AnOverlapWithRoomForFewPatchesIsFoundButNotCertain) {
    const CoarseShift shift = matchOf(framesApart(GetParam(), 97, 131, 66, 10, 4));
    EXPECT_EQ(shift.verdict, CoarseVerdict::doubtful) << shift;
    EXPECT_LE(errorOf(shift, 66, 10), allowed) << shift;
}

TEST(CoarseShift, AGridWhoseCellsDifferIsFoundOrLeftOpen) {
    int certain = 0;
    for (const std::int32_t percent : {20, 35, 50, 70}) {
        const std::int32_t x = 640 * (100 - percent) / 100;
        const CoarseShift shift = matchOf(framesApart(Texture::grid, 480, 640, x, 3, percent));
        if (shift.verdict != CoarseVerdict::certain) continue;
        ++certain;
        EXPECT_LE(errorOf(shift, x, 3), allowed) << shift;
    }
    EXPECT_GE(certain, 2);
}

TEST(CoarseShift, FractionsOfAPixelAreMeasured) {
    constexpr std::int32_t finer = 4;
    constexpr std::int32_t rows = 300;
    constexpr std::int32_t cols = 400;
    const Picture picture = makePicture(Texture::fine, finer * rows + 900, finer * cols + 900, 1, 8);
    const auto reduced = [&](std::int32_t left, std::int32_t top) {
        Grey frame;
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c) {
                int sum = 0;
                for (std::int32_t v = 0; v < finer; ++v)
                    for (std::int32_t u = 0; u < finer; ++u)
                        sum += picture.pixels[static_cast<std::size_t>(top + r * finer + v) * picture.cols +
                                              left + c * finer + u];
                frame.push_back(static_cast<std::uint8_t>((sum + 8) / 16));
            }
        return frame;
    };
    const Grey previous = reduced(0, 0);
    for (const auto& [x, y] : {std::pair{601, 202}, {602, 203}, {603, 401}, {604, 802}}) {
        SCOPED_TRACE(std::to_string(x) + "/4, " + std::to_string(y) + "/4");
        expectCertain({rows, cols, previous, reduced(x, y)}, x / 4.0, y / 4.0, 0.2);
    }
}

TEST(CoarseShift, ShadingVignettingAndGainAreNoHindrance) {
    FramePair frames = framesApart(Texture::fine, 480, 640, 450, 20, 5);
    const auto vignetted = [](double value, double x, double y) {
        return value * (1 - 0.35 * (x * x + y * y) / 2);
    };
    const auto shaded = [](double value, double x, double y) { return 0.7 * value + 35 * x - 20 * y + 10; };
    changePixels(frames.previous, 480, 640, vignetted);
    changePixels(frames.current, 480, 640, vignetted);
    expectCertain(frames, 450, 20);
    changePixels(frames.current, 480, 640, shaded);
    expectCertain(frames, 450, 20);
}

TEST(CoarseShift, NoiseIsNoHindrance) {
    FramePair frames = framesApart(Texture::fine, 480, 640, -380, 45, 6);
    addNoise(frames.previous, 12, 1);
    addNoise(frames.current, 12, 2);
    expectCertain(frames, -380, 45);
}

TEST(CoarseShift, ARepeatedFrameLiesWhereItWas) {
    FramePair frames = framesApart(Texture::grains, 480, 640, 0, 0);
    addNoise(frames.current, 3, 9);
    expectCertain(frames, 0, 0, 0.1);
}

TEST(CoarseShift, TheWayBackIsTheOppositeOne) {
    const FramePair frames = framesApart(Texture::grains, 480, 640, 401, -77, 7);
    const CoarseShift back = matchOf({frames.rows, frames.cols, frames.current, frames.previous});
    EXPECT_EQ(back.verdict, CoarseVerdict::certain) << back;
    EXPECT_LE(errorOf(back, -401, 77), allowed) << back;
}

TEST(CoarseShift, AStrongSpeckOnTheSensorDoesNotDecide) {
    FramePair frames = framesApart(Texture::fine, 480, 640, 300, 10, 12);
    for (Grey* frame : {&frames.previous, &frames.current})
        changePixels(*frame, 480, 640, [](double value, double x, double y) {
            return std::hypot(x - 0.6, y - 0.2) < 0.06 ? 0.2 * value : value;
        });
    expectCertain(frames, 300, 10);
}

TEST(CoarseShift, AHintKeepsTheSearchNearIt) {
    const FramePair frames = framesApart(Texture::fine, 480, 640, 300, 10, 12);
    const session::ShiftHint right{310, 4, 20};
    const CoarseShift found = matchOf(frames, &right);
    EXPECT_EQ(found.verdict, CoarseVerdict::certain) << found;
    EXPECT_LE(errorOf(found, 300, 10), allowed) << found;
    const session::ShiftHint wrong{-310, 4, 20};
    EXPECT_EQ(matchOf(frames, &wrong).verdict, CoarseVerdict::none);
}

TEST(CoarseShift, AHintOfAnyNumbersIsTaken) {
    const FramePair frames = framesApart(Texture::fine, 240, 320, 100, 10, 12);
    const double all[] = {0, -1, 1e300, -1e300, NAN, INFINITY, -INFINITY};
    for (const double x : all)
        for (const double uncertainty : all) {
            const session::ShiftHint hint{x, 10, uncertainty};
            const CoarseShift shift = matchOf(frames, &hint);
            if (shift.verdict == CoarseVerdict::certain) {
                EXPECT_LE(errorOf(shift, 100, 10), allowed) << shift;
            }
        }
    const session::ShiftHint everywhere{0, 0, 1e300};
    EXPECT_EQ(matchOf(frames, &everywhere).verdict, CoarseVerdict::certain);
}

}  // namespace
}  // namespace brantel::test
