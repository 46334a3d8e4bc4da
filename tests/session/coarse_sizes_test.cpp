// Frames of any size and content: no harm is done, and nothing is claimed that is not so.
#include <gtest/gtest.h>

#include <string>

#include "session/coarse_frames.h"

namespace brantel::test {
namespace {

/// Right, or not certain.
void expectNothingFalse(const FramePair& frames, double x, double y) {
    const CoarseShift shift = matchOf(frames);
    if (shift.verdict == CoarseVerdict::certain) {
        EXPECT_LE(errorOf(shift, x, y), 1) << shift << " instead of (" << x << ", " << y << ")";
    }
    EXPECT_GE(shift.low, 0);
    EXPECT_LE(shift.low, 1);
    EXPECT_GE(shift.rival, 0);
    EXPECT_LE(shift.rival, 1);
}

TEST(CoarseSizes, TheSmallestFramesAreTaken) {
    for (std::int32_t rows = 1; rows <= 40; rows += rows < 12 ? 1 : 7)
        for (std::int32_t cols = 1; cols <= 40; cols += cols < 12 ? 1 : 7) {
            SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows));
            expectNothingFalse(framesApart(Texture::fine, rows, cols, cols / 3, rows / 3), cols / 3,
                               rows / 3);
        }
}

TEST(CoarseSizes, LongAndNarrowFramesAreTaken) {
    struct Size {
        std::int32_t rows, cols;
    };
    for (const auto& [rows, cols] : {Size{1, 1},
                                     {1, 5000},
                                     {5000, 1},
                                     {2, 3000},
                                     {3, 2000},
                                     {7, 631},
                                     {20, 3000},
                                     {3000, 24},
                                     {8, 8},
                                     {13, 999},
                                     {40, 40000},
                                     {20000, 33},
                                     {100, 1500},
                                     {1, 100000},
                                     {100000, 1}}) {
        SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows));
        expectNothingFalse(framesApart(Texture::fine, rows, cols, cols / 4, rows / 4), cols / 4, rows / 4);
    }
}

TEST(CoarseSizes, NarrowFramesWithRoomForPatchesAreFound) {
    for (const auto& [rows, cols] : {std::pair{100, 900}, {900, 100}, {120, 1500}}) {
        const CoarseShift shift = matchOf(framesApart(Texture::fine, rows, cols, cols / 4, rows / 6));
        EXPECT_EQ(shift.verdict, CoarseVerdict::certain) << shift;
        EXPECT_LE(errorOf(shift, cols / 4, rows / 6), 0.75) << shift;
    }
}

TEST(CoarseSizes, ExtremeContrastIsTaken) {
    const auto blackAndWhite = [](Grey frame) {
        for (std::uint8_t& pixel : frame) pixel = pixel < 128 ? 0 : 255;
        return frame;
    };
    for (const auto& [rows, cols] : {std::pair{480, 640}, {161, 161}, {640, 1700}}) {
        FramePair frames = framesApart(Texture::fine, rows, cols, cols / 3, 20);
        frames.previous = blackAndWhite(frames.previous);
        frames.current = blackAndWhite(frames.current);
        const CoarseShift shift = matchOf(frames);
        EXPECT_EQ(shift.verdict, CoarseVerdict::certain) << shift;
        EXPECT_LE(errorOf(shift, cols / 3, 20), 0.75) << shift;

        const Grey noise = blackAndWhite(randomBytes(frames.previous.size(), 5));
        expectNothingFalse({rows, cols, noise, blackAndWhite(randomBytes(noise.size(), 6))}, 0, 0);
        const CoarseShift same = matchOf({rows, cols, noise, noise});
        EXPECT_LE(errorOf(same, 0, 0), 0.5) << same;
    }
}

TEST(CoarseSizes, HalvesOfBlackAndWhiteAreTaken) {
    constexpr std::int32_t rows = 240;
    constexpr std::int32_t cols = 320;
    Grey halves(static_cast<std::size_t>(rows) * cols);
    Grey checks(halves.size());
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            const std::size_t i = static_cast<std::size_t>(r) * cols + c;
            halves[i] = c < cols / 2 ? 0 : 255;
            checks[i] = (r + c) % 2 == 0 ? 0 : 255;
        }
    for (const Grey& a : {halves, checks})
        for (const Grey& b : {halves, checks}) {
            const CoarseShift shift = matchOf({rows, cols, a, b});
            EXPECT_NE(shift.verdict, CoarseVerdict::certain) << shift;
        }
}

}  // namespace
}  // namespace brantel::test
