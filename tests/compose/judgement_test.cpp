// The brightness and motion tests.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "compose/judgement.h"
#include "support/guarded_buffer.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

float literalMeanGrey(const std::vector<std::uint8_t>& grey, std::int32_t rows, std::int32_t cols) {
    float sum = 0.0F;
    std::int32_t count = 0;
    for (std::int32_t r = 2; r < rows - 2; r += 2)
        for (std::int32_t c = 2; c < cols - 2; c += 2) {
            sum = sum + static_cast<float>(grey[r * cols + c]);
            ++count;
        }
    return sum / static_cast<float>(count);
}

float literalMeanOfBright(const std::vector<std::uint8_t>& grey) {
    float sum = 0.0F;
    std::int32_t count = 0;
    for (const std::uint8_t sample : grey)
        if (sample > 10) {
            sum = sum + static_cast<float>(sample);
            ++count;
        }
    return sum / static_cast<float>(count);
}

TEST(MeanGrey, TakesEverySecondRowAndColumnInsideAMarginOfTwo) {
    for (const auto& [rows, cols] :
         {std::pair{5, 5}, std::pair{6, 5}, std::pair{31, 44}, std::pair{100, 7}}) {
        const auto image = test::randomBytes(std::int64_t{rows} * cols, 1);
        const auto grey = GuardedBuffer<std::uint8_t>::copyOf(image);
        EXPECT_EQ(meanGrey(grey->data(), rows, cols), literalMeanGrey(image, rows, cols));
    }
    std::vector<std::uint8_t> image(9 * 9, 0);
    image[2 * 9 + 2] = 90;  // one of the 9 samples
    image[3 * 9 + 3] = 255;
    EXPECT_EQ(meanGrey(image.data(), 9, 9), 10.0F);
}

TEST(MeanGrey, RoundsLikeOneFloatAccumulatorBeyond24Bits) {
    const std::vector<std::uint8_t> image(800 * 800, 251);  // 158,404 samples, a sum of 39.8 million
    const float mean = meanGrey(image.data(), 800, 800);
    EXPECT_EQ(mean, literalMeanGrey(image, 800, 800));
    EXPECT_NE(mean, 251.0F) << "the accumulator loses bits, and that is kept";
}

TEST(MeanGrey, IsNoNumberWithoutASample) {
    const std::vector<std::uint8_t> image(400, 9);
    EXPECT_TRUE(std::isnan(meanGrey(image.data(), 4, 100)));
    EXPECT_TRUE(std::isnan(meanGrey(image.data(), 100, 4)));
    EXPECT_TRUE(std::isnan(meanGrey(image.data(), 0, 0)));
}

TEST(MeanOfBright, CountsSamplesGreaterThan10Only) {
    const std::vector<std::uint8_t> image{0, 10, 11, 200, 9, 29};
    EXPECT_EQ(meanOfBright(image.data(), 6), 80.0F);
    const auto random = test::randomBytes(5001, 2);
    const auto grey = GuardedBuffer<std::uint8_t>::copyOf(random);
    EXPECT_EQ(meanOfBright(grey->data(), 5001), literalMeanOfBright(random));
}

TEST(MeanOfBright, RoundsLikeOneFloatAccumulatorBeyond24Bits) {
    const std::vector<std::uint8_t> image(400 * 400, 253);
    EXPECT_EQ(meanOfBright(image.data(), 400 * 400), literalMeanOfBright(image));
    EXPECT_NE(literalMeanOfBright(image), 253.0F);
}

TEST(MeanOfBright, IsNoNumberWithoutABrightSample) {
    const std::vector<std::uint8_t> image(100, 10);
    EXPECT_TRUE(std::isnan(meanOfBright(image.data(), 100)));
    EXPECT_TRUE(std::isnan(meanOfBright(image.data(), 0)));
}

StitchFlags recordWith(float previous, float current, float previousBright, float currentBright) {
    StitchFlags record{};
    record.prevMean = previous;
    record.curMean = current;
    record.prevBrightMean = previousBright;
    record.curBrightMean = currentBright;
    return record;
}

std::int32_t judged(StitchFlags record, std::int32_t staticFlag) {
    judgeBrightness(record, {0, staticFlag}, 480, 640);
    return record.stitch_flags;
}

TEST(JudgeBrightness, TheStrictTolerancesAre40And30) {
    EXPECT_EQ(judged(recordWith(100, 139.9F, 100, 129.9F), 1), 1);
    EXPECT_EQ(judged(recordWith(139.9F, 100, 129.9F, 100), 1), 1);
    EXPECT_EQ(judged(recordWith(100, 140, 100, 100), 1), 0);
    EXPECT_EQ(judged(recordWith(140, 100, 100, 100), -3), 0) << "any nonzero flag is strict";
    EXPECT_EQ(judged(recordWith(100, 100, 100, 130), 1), 0);
    EXPECT_EQ(judged(recordWith(100, 100, 130, 100), 1), 0);
}

TEST(JudgeBrightness, TheWideTolerancesAreBoth128) {
    EXPECT_EQ(judged(recordWith(10, 137.9F, 10, 137.9F), 0), 1);
    EXPECT_EQ(judged(recordWith(10, 138, 10, 10), 0), 0);
    EXPECT_EQ(judged(recordWith(10, 10, 138, 10), 0), 0);
}

TEST(JudgeBrightness, NoNumberFailsTheTest) {
    for (int which = 0; which < 4; ++which) {
        StitchFlags record = recordWith(which == 0 ? nan : 9.0F, which == 1 ? nan : 9.0F,
                                        which == 2 ? nan : 9.0F, which == 3 ? nan : 9.0F);
        EXPECT_EQ(judged(record, 0), 0) << which;
    }
}

TEST(JudgeBrightness, NeverClearsTheFlag) {
    StitchFlags record = recordWith(0, 255, 0, 255);
    record.stitch_flags = 1;
    EXPECT_EQ(judged(record, 1), 1);
    record.prevMean = nan;
    EXPECT_EQ(judged(record, 1), 1);
}

TEST(JudgeBrightness, TheOffsetIsComparedWithItsSign) {
    StitchFlags record = recordWith(9, 9, 9, 9);
    record.offset = {-5000, -5000};
    EXPECT_EQ(judged(record, 1), 1) << "negative shifts always pass";
    record.offset = {639, 479};
    EXPECT_EQ(judged(record, 1), 1);
    record.offset = {640, 0};
    EXPECT_EQ(judged(record, 1), 0);
    record.offset = {0, 480};
    EXPECT_EQ(judged(record, 1), 0);
}

TEST(MotionThreshold, Is5WhenStrictElse255) {
    EXPECT_EQ(motionThreshold({1, 1}), 5);
    EXPECT_EQ(motionThreshold({1, -1}), 5);
    EXPECT_EQ(motionThreshold({1, 0}), 255);
}

}  // namespace
}  // namespace brantel
