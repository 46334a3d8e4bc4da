// Frames that do not overlap, and content that tells nothing: the coarse shift is never certain of it.
#include <gtest/gtest.h>

#include "session/coarse_frames.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 360;
constexpr std::int32_t cols = 480;

Grey filled(std::uint8_t value) {
    return Grey(static_cast<std::size_t>(rows) * cols, value);
}

void expectNone(const Grey& previous, const Grey& current) {
    const CoarseShift shift = matchOf({rows, cols, previous, current});
    EXPECT_EQ(shift.verdict, CoarseVerdict::none) << shift;
    EXPECT_EQ(shift.confidence, 0);
}

void expectUncertain(const Grey& previous, const Grey& current) {
    const CoarseShift shift = matchOf({rows, cols, previous, current});
    EXPECT_NE(shift.verdict, CoarseVerdict::certain) << shift;
    EXPECT_LE(shift.confidence, 0.5);
}

Grey windowOf(Texture texture, std::uint64_t seed) {
    return makePicture(texture, rows, cols, 1, seed).pixels;
}

TEST(CoarseRefusal, FramesOfDifferentPlacesAreNeverCertain) {
    int doubtful = 0;
    for (const Texture texture : {Texture::fine, Texture::grains, Texture::grid})
        for (const Texture other : {Texture::fine, Texture::grains, Texture::grid})
            for (std::uint64_t seed = 0; seed < 20; ++seed) {
                const CoarseShift shift =
                    matchOf({rows, cols, windowOf(texture, 100 + seed), windowOf(other, 1000 + seed)});
                EXPECT_NE(shift.verdict, CoarseVerdict::certain)
                    << texture << " and " << other << ", seed " << seed << ": " << shift;
                doubtful += shift.verdict == CoarseVerdict::doubtful ? 1 : 0;
            }
    EXPECT_LE(doubtful, 9);  // of 180: asking the corners in vain costs time
}

TEST(CoarseRefusal, FlatFramesSayNothing) {
    expectNone(filled(128), filled(128));
    expectNone(filled(0), filled(255));
    expectNone(windowOf(Texture::fine, 1), filled(128));
    expectNone(filled(0), windowOf(Texture::fine, 1));
}

TEST(CoarseRefusal, NoiseSaysNothing) {
    Grey previous = filled(100);
    Grey current = filled(100);
    addNoise(previous, 9, 1);
    addNoise(current, 9, 2);
    expectNone(previous, current);
    expectNone(randomBytes(previous.size(), 3), randomBytes(previous.size(), 4));
}

TEST(CoarseRefusal, ShadingAloneIsNoContent) {
    Grey previous = filled(200);
    changePixels(previous, rows, cols, [](double value, double x, double y) {
        return value * (1 - 0.4 * (x * x + y * y) / 2) + 15 * x;
    });
    Grey current = previous;
    addNoise(previous, 2, 1);
    addNoise(current, 2, 2);
    expectUncertain(previous, current);
}

/// A scale bar with its ticks.
double burntIn(double value, double x, double y) {
    const bool bar = x > 0.2 && x < 0.8 && y > 0.85 && y < 0.88;
    const bool tick = x > 0.2 && x < 0.8 && y > 0.78 && y <= 0.85 && std::fmod(x * 20, 2.0) < 0.4;
    return bar || tick ? 255 : value;
}

TEST(CoarseRefusal, WhatIsBurntInJoinsNothing) {
    for (const Texture texture : {Texture::fine, Texture::grains})
        for (std::uint64_t seed = 0; seed < 5; ++seed) {
            Grey previous = windowOf(texture, 20 + seed);
            Grey current = windowOf(texture, 30 + seed);
            for (Grey* frame : {&previous, &current})
                changePixels(*frame, rows, cols, [](double value, double x, double y) {
                    return burntIn(0.3 * value + 60, x, y);
                });
            expectUncertain(previous, current);
        }
    Grey plain = filled(90);
    changePixels(plain, rows, cols, burntIn);
    Grey noisy = plain;
    addNoise(plain, 3, 1);
    addNoise(noisy, 3, 2);
    expectUncertain(plain, noisy);
}

TEST(CoarseRefusal, LinesInOneDirectionLeaveTheShiftOpen) {
    const auto lines = [](double offset) {
        Grey frame = filled(180);
        changePixels(frame, rows, cols, [offset](double value, double x, double y) {
            const double across = x * 2 + y + offset;
            const double line = across - std::floor(across * 1.3) / 1.3;
            return line < 0.05 ? 40 : value;
        });
        return frame;
    };
    Grey previous = lines(0);
    Grey current = lines(0.37);
    addNoise(previous, 2, 1);
    addNoise(current, 2, 2);
    expectUncertain(previous, current);
}

TEST(CoarseRefusal, AnExactlyRepeatedPatternLeavesTheShiftOpen) {
    const auto squares = [](std::int32_t x, std::int32_t y) {
        Grey frame = filled(70);
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c)
                if ((c + x) % 40 < 17 && (r + y) % 40 < 23)
                    frame[static_cast<std::size_t>(r) * cols + c] = 200;
        return frame;
    };
    Grey previous = squares(0, 0);
    Grey current = squares(13, 9);
    addNoise(previous, 4, 1);
    addNoise(current, 4, 2);
    expectUncertain(previous, current);
}

}  // namespace
}  // namespace brantel::test
