// What follows from a density level, and the grey conversion of all backends.
#include <brantel/brantel.h>
#include <gtest/gtest.h>

#include "common/grey.h"
#include "common/tuning.h"

namespace brantel {
namespace {

TEST(CornerBudget, FollowsTheDensityLevel) {
    EXPECT_EQ(cornerBudgetFor(0), 150);
    EXPECT_EQ(cornerBudgetFor(1), 181) << "281.25 is truncated before 100 is taken off";
    EXPECT_EQ(cornerBudgetFor(8), 400);
    EXPECT_EQ(cornerBudgetFor(-4), 25);
    EXPECT_EQ(cornerBudgetFor(-5), -7);
    EXPECT_EQ(cornerBudgetFor(-8), -100);
    EXPECT_EQ(cornerBudgetFor(-9), -131) << "-31.25 is truncated towards zero";
}

TEST(CornerBudget, WrapsLike32BitArithmetic) {
    for (const std::int32_t level : {2147483647, -2147483647 - 1, 4294967, 8589935}) {
        const auto product = static_cast<std::int32_t>((static_cast<std::uint32_t>(level) + 8U) * 500U);
        EXPECT_EQ(cornerBudgetFor(level), product / 16 - 100);
    }
}

TEST(CornerTuning, TheCapIsSevenBudgets) {
    EXPECT_EQ(CornerTuning::forDensity(1).cap, 1267);
    EXPECT_EQ(CornerTuning::forDensity(0).cap, 1050);
    EXPECT_EQ(CornerTuning::forDensity(-8).cap, -700);
    EXPECT_EQ(CornerTuning::forDensity(3).densityLevel, 3);
    EXPECT_EQ(CornerTuning::forDensity(3).workingScale, 2);
    EXPECT_EQ(CornerTuning::forDensity(3).reductionFactor, 1);
}

TEST(WorkingScale, Is2ForADivisorOf1Or2) {
    EXPECT_EQ(workingScaleFor(1), 2);
    EXPECT_EQ(workingScaleFor(2), 2);
    EXPECT_EQ(workingScaleFor(3), 1);
    EXPECT_EQ(workingScaleFor(4), 1);
}

TEST(GreyOf, RoundsToNearest) {
    EXPECT_EQ(greyOf(255, 255, 255), 255);
    EXPECT_EQ(greyOf(0, 0, 255), 76);
    EXPECT_EQ(greyOf(0, 0, 0), 0);
    EXPECT_EQ(greyOf(0, 0, 1), 0);
    EXPECT_EQ(greyOf(0, 1, 0), 1);
}

TEST(StitchFlags, TenFieldsOf32BitsInTheirOrder) {
    EXPECT_EQ(sizeof(StitchFlags), 40U);
    EXPECT_EQ(offsetof(StitchFlags, prevMean), 0U);
    EXPECT_EQ(offsetof(StitchFlags, curMean), 4U);
    EXPECT_EQ(offsetof(StitchFlags, prevBrightMean), 8U);
    EXPECT_EQ(offsetof(StitchFlags, curBrightMean), 12U);
    EXPECT_EQ(offsetof(StitchFlags, matchCount), 16U);
    EXPECT_EQ(offsetof(StitchFlags, offset), 20U);
    EXPECT_EQ(offsetof(StitchFlags, frameX), 28U);
    EXPECT_EQ(offsetof(StitchFlags, frameY), 32U);
    EXPECT_EQ(offsetof(StitchFlags, stitch_flags), 36U);
}

}  // namespace
}  // namespace brantel
