// The brightness and motion tests. Every measure goes through the library and the reference.
#include "compose/acceptance.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "reference/acceptance.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// Of a float, since NaN equals nothing.
std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

struct Means {
    float grey;
    float bright;
};

/// Of a part whose rows lie slack bytes apart.
Means meansOf(const Bytes& bytes, std::int32_t rows, std::int32_t cols, std::int64_t slack = 0) {
    const std::int64_t stride = cols + slack;
    Bytes packed;
    for (std::int64_t r = 0; r < rows; ++r)
        packed.insert(packed.end(), bytes.begin() + r * stride, bytes.begin() + r * stride + cols);
    const auto pixels = placed(bytes, places[(rows + cols) % 6]);
    const GreyPart part{pixels->data(), stride, rows, cols};
    const Means means{meanGrey(part), meanOfBright(part)};
    EXPECT_EQ(bitsOf(means.grey), bitsOf(reference::meanGrey(packed.data(), rows, cols)))
        << rows << " x " << cols;
    EXPECT_EQ(bitsOf(means.bright), bitsOf(reference::meanOfBright(packed.data(), std::int64_t{rows} * cols)))
        << rows << " x " << cols;
    return means;
}

class BrightnessMeans : public AtLevel {};

TEST_P(BrightnessMeans, OfPartsAreThoseOfTheirCopies) {
    std::uint64_t seed = 1;
    for (const std::int32_t rows : {0, 1, 2, 4, 5, 6, 7, 31, 64, 211})
        for (const std::int32_t cols : {0, 1, 3, 4, 5, 6, 63, 64, 65, 130, 131, 133, 259, 777})
            for (const std::int64_t slack : {0, 1, 77})
                for (const Contents contents : allContents)
                    meansOf(bytesOf(contents, rows > 0 ? (rows - 1) * (cols + slack) + cols : 0, seed++),
                            rows, cols, slack);
}

TEST_P(BrightnessMeans, OfLargePartsRoundBeyond24Bits) {
    // up to 2^30: floats are then 128 apart
    meansOf(randomBytes(2101 * 2003, 5), 2101, 2003);
    for (const int value : {11, 12, 64, 128, 129, 192, 251, 255})
        meansOf(Bytes(2101 * 2003, static_cast<std::uint8_t>(value)), 2101, 2003);
}

TEST_P(BrightnessMeans, OfManyTies) {
    // halves of each spacing, some of them one off
    Random random(9);
    for (std::int32_t half = 1; half <= 64; half *= 2) {
        Bytes grey(1500 * 1501);
        for (std::uint8_t& value : grey)
            value = static_cast<std::uint8_t>(
                std::min(255, random.between(0, 255 / half) * half + (random.between(0, 9) == 0 ? 1 : 0)));
        meansOf(grey, 1500, 1501);
    }
}

BRANTEL_AT_EVERY_LEVEL(BrightnessMeans);

TEST(MeanGrey, TakesEverySecondRowAndColumnInsideAMarginOfTwo) {
    Bytes image(9 * 9, 0);
    image[2 * 9 + 2] = 90;  // one of the 9 samples
    image[3 * 9 + 3] = 255;
    EXPECT_EQ(meansOf(image, 9, 9).grey, 10.0F);
    image[6 * 9 + 6] = 18;  // the last one
    image[7 * 9 + 7] = image[6 * 9 + 7] = 255;
    EXPECT_EQ(meansOf(image, 9, 9).grey, 12.0F);
}

TEST(MeanGrey, RoundsLikeOneFloatAccumulatorBeyond24Bits) {
    // 158,404 samples, a sum of 39.8 million
    EXPECT_NE(meansOf(Bytes(800 * 800, 251), 800, 800).grey, 251.0F) << "the accumulator loses bits";
}

TEST(MeanGrey, IsNoNumberWithoutASample) {
    EXPECT_TRUE(std::isnan(meansOf(Bytes(400, 9), 4, 100).grey));
    EXPECT_TRUE(std::isnan(meansOf(Bytes(400, 9), 100, 4).grey));
    EXPECT_TRUE(std::isnan(meansOf({}, 0, 0).grey));
}

TEST(MeanOfBright, CountsSamplesGreaterThan10Only) {
    EXPECT_EQ(meansOf({0, 10, 11, 200, 9, 29}, 1, 6).bright, 80.0F);
}

TEST(MeanOfBright, RoundsLikeOneFloatAccumulatorBeyond24Bits) {
    EXPECT_NE(meansOf(Bytes(400 * 400, 253), 400, 400).bright, 253.0F);
}

TEST(MeanOfBright, IsNoNumberWithoutABrightSample) {
    EXPECT_TRUE(std::isnan(meansOf(Bytes(100, 10), 10, 10).bright));
}

TEST(RecordBrightness, MeasuresBothParts) {
    IdleWorkers workers;
    const Bytes canvas = randomBytes(30 * 40, 1);
    const Bytes frame = randomBytes(30 * 40, 2);
    for (WorkerPair* pair : {static_cast<WorkerPair*>(nullptr), workers.pair()}) {
        StitchFlags record{};
        recordBrightness(record, GreyPart::whole(canvas.data(), 30, 40),
                         GreyPart::whole(frame.data(), 30, 40), pair);
        EXPECT_EQ(record.prevMean, reference::meanGrey(canvas.data(), 30, 40));
        EXPECT_EQ(record.curMean, reference::meanGrey(frame.data(), 30, 40));
        EXPECT_EQ(record.prevBrightMean, reference::meanOfBright(canvas.data(), 30 * 40));
        EXPECT_EQ(record.curBrightMean, reference::meanOfBright(frame.data(), 30 * 40));
    }
}

StitchFlags recordWith(float previous, float current, float previousBright, float currentBright) {
    StitchFlags record{};
    record.prevMean = previous;
    record.curMean = current;
    record.prevBrightMean = previousBright;
    record.curBrightMean = currentBright;
    return record;
}

std::int32_t judged(StitchFlags record, bool strict) {
    judgeBrightness(record, strict, 480, 640);
    return record.stitch_flags;
}

TEST(JudgeBrightness, TheStrictTolerancesAre40And30) {
    EXPECT_EQ(judged(recordWith(100, 139.9F, 100, 129.9F), true), 1);
    EXPECT_EQ(judged(recordWith(139.9F, 100, 129.9F, 100), true), 1);
    EXPECT_EQ(judged(recordWith(100, 140, 100, 100), true), 0);
    EXPECT_EQ(judged(recordWith(140, 100, 100, 100), true), 0);
    EXPECT_EQ(judged(recordWith(100, 100, 100, 130), true), 0);
    EXPECT_EQ(judged(recordWith(100, 100, 130, 100), true), 0);
}

TEST(JudgeBrightness, TheWideTolerancesAreBoth128) {
    EXPECT_EQ(judged(recordWith(10, 137.9F, 10, 137.9F), false), 1);
    EXPECT_EQ(judged(recordWith(10, 138, 10, 10), false), 0);
    EXPECT_EQ(judged(recordWith(10, 10, 138, 10), false), 0);
}

TEST(JudgeBrightness, NoNumberFailsTheTest) {
    for (int which = 0; which < 4; ++which) {
        const StitchFlags record = recordWith(which == 0 ? nan : 9.0F, which == 1 ? nan : 9.0F,
                                              which == 2 ? nan : 9.0F, which == 3 ? nan : 9.0F);
        EXPECT_EQ(judged(record, false), 0) << which;
    }
}

TEST(JudgeBrightness, NeverClearsTheFlag) {
    StitchFlags record = recordWith(0, 255, 0, 255);
    record.stitch_flags = 1;
    EXPECT_EQ(judged(record, true), 1);
    record.prevMean = nan;
    EXPECT_EQ(judged(record, true), 1);
}

TEST(JudgeBrightness, TheOffsetIsComparedWithItsSign) {
    StitchFlags record = recordWith(9, 9, 9, 9);
    record.offset = {-5000, -5000};
    EXPECT_EQ(judged(record, true), 1) << "negative shifts always pass";
    record.offset = {639, 479};
    EXPECT_EQ(judged(record, true), 1);
    record.offset = {640, 0};
    EXPECT_EQ(judged(record, true), 0);
    record.offset = {0, 480};
    EXPECT_EQ(judged(record, true), 0);
}

TEST(JudgeMotion, PassesBelow5WhenStrictElseBelow255AndClearsTheFlag) {
    struct {
        bool strict;
        std::int64_t motion;
        std::int32_t flag;
    } const cases[] = {{true, 0, 1},  {true, 4, 1},    {true, 5, 0},
                       {false, 5, 1}, {false, 254, 1}, {false, 255, 0}};
    for (const auto& each : cases)
        for (const std::int32_t before : {0, 1}) {
            StitchFlags record{};
            record.stitch_flags = before;
            judgeMotion(record, each.strict, each.motion);
            EXPECT_EQ(record.stitch_flags, each.flag) << each.motion;
        }
}

}  // namespace
}  // namespace brantel::test
