// Numbers that make no sense: shifts, factors, densities, limits, modes.
#include <limits>

#include "boundary/fixture.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;
constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

class BadNumbers : public BoundaryTest {
  protected:
    void startMosaic(std::int32_t channels, std::int32_t mainMode = 1) {
        ASSERT_TRUE(init(rows, cols, channels, 8, mainMode));
        first_ = frame(0, 0, rows, cols, channels);
        second_ = frame(20, 8, rows, cols, channels);
        ASSERT_EQ(stitch(first_.get(), second_.get(), 0).result, 0);
    }

    GuardedFrame first_;
    GuardedFrame second_;
};

TEST_F(BadNumbers, ExpectedShiftsBeyondTheFrameFindNothing) {
    startMosaic(1);
    for (const std::int32_t far : {lowest, lowest + 1, -100000, -cols, cols, 100000, highest - 1, highest})
        for (const std::int32_t other : {lowest, -cols, -1, 0, 1, cols, highest}) {
            EXPECT_EQ(stitchExpecting(nullptr, second_.get(), 1, 1, far, other).result, -1)
                << far << ' ' << other;
            EXPECT_EQ(stitchExpecting(nullptr, second_.get(), 1, 1, other, far).result, -1)
                << other << ' ' << far;
        }
}

TEST_F(BadNumbers, EverySmallExpectedShiftIsAnswered) {
    startMosaic(3, 0);
    for (std::int32_t x = -21; x <= 21; ++x)
        for (std::int32_t y = -21; y <= 21; y += 3) {
            const StitchOutputs out = stitchExpecting(nullptr, second_.get(), 1, 1, x, y);
            EXPECT_TRUE(out.result == 0 || out.result == -1) << x << ' ' << y;
        }
    EXPECT_TRUE(second_->intact());
}

TEST_F(BadNumbers, EveryExpectedShiftAlongAnAxisIsAnswered) {
    startMosaic(1);
    for (std::int32_t shift = -cols - 1; shift <= cols + 1; ++shift) {
        EXPECT_LE(stitchExpecting(nullptr, second_.get(), 1, 1, shift, 0).result, 0) << shift;
        EXPECT_LE(stitchExpecting(nullptr, second_.get(), 1, 1, 0, shift).result, 0) << shift;
    }
}

TEST_F(BadNumbers, EveryScaleStaysInsideTheFrames) {
    for (const std::int32_t channels : {1, 3})
        for (const std::int32_t scale :
             {0,  -1, -2, -3, -64, lowest, lowest + 1, 2,   3,   4,   5,    6,     7,           8,      9, 31,
              32, 33, 62, 64, 66,  119,    120,        121, 160, 161, 1000, 65536, highest - 1, highest}) {
            SCOPED_TRACE(scale);
            ASSERT_TRUE(init(rows, cols, channels));
            GuardedFrame first = frame(0, 0, rows, cols, channels);
            GuardedFrame second = frame(20, 8, rows, cols, channels);
            EXPECT_EQ(stitch(first.get(), second.get(), 0, scale).result, -1)
                << "frames of this size, reduced, have no corners";
            EXPECT_TRUE(first->intact() && second->intact());
            uinitJoint();
        }
}

TEST_F(BadNumbers, ScaleZeroSaysSo) {
    ASSERT_TRUE(init(rows, cols, 1));
    GuardedFrame first = frame(0, 0, rows, cols, 1);
    const Lines lines = captureLines([&] { stitch(first.get(), first.get(), 0, 0); });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "src is null || scale is 0"), 2);
}

TEST_F(BadNumbers, DensitiesWithoutABudgetRegisterNothing) {
    for (const std::int32_t density : {-5, -8, -9, -1000}) {
        ASSERT_TRUE(init(rows, cols, 1, density)) << density;
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        EXPECT_EQ(stitch(first.get(), second.get(), 0).result, -1) << density;
        uinitJoint();
    }
}

TEST_F(BadNumbers, HugeDensitiesWrapAroundAndAreAnswered) {
    for (const std::int32_t density :
         {lowest, -1000000, 1000, 1000000, 4294967, 8589934, highest - 8, highest - 7, highest}) {
        ASSERT_TRUE(init(rows, cols, 1, density)) << density;
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        const StitchOutputs out = stitch(first.get(), second.get(), 0);
        EXPECT_TRUE(out.result == 0 || out.result == -1) << density;
        uinitJoint();
    }
}

TEST_F(BadNumbers, LimitsAreComparedAsTheyWrapAround) {
    struct {
        std::int32_t a;
        std::int32_t b;
        std::int32_t result;
    } const cases[] = {{0, 0, 1},       {-1, 1, 1},      {1, -1, 1},         {highest, highest, 1},
                       {lowest, 1, 1},  {lowest, 2, 1},  {-1, lowest, 1},    {6000, 6000, 1},
                       {6000, 6001, 0}, {highest, 1, 0}, {-20000, -20000, 0}};
    for (const auto& c : cases) {
        ASSERT_TRUE(initJoint(rows, cols, 1, 8, c.a, c.b, 1, 0));
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        EXPECT_EQ(stitch(first.get(), second.get(), 0).result, c.result) << c.a << " x " << c.b;
        uinitJoint();
    }
}

TEST_F(BadNumbers, EveryNonzeroModeAndFlagCounts) {
    for (const std::int32_t mode : {-1, 2, lowest, highest})
        for (const std::int32_t flag : {-1, 2, lowest, highest}) {
            ASSERT_TRUE(initJoint(rows, cols, 1, 8, 20000, 20000, mode, flag));
            GuardedFrame first = frame(0, 0, rows, cols, 1);
            const StitchOutputs out = stitch(first.get(), first.get(), 0);
            EXPECT_EQ(out.result, 0);
            EXPECT_EQ(out.flags.stitch_flags, 1) << "no motion at all passes the strict motion test";
            GuardedFrame second = frame(20, 8, rows, cols, 1);
            EXPECT_EQ(stitch(nullptr, second.get(), flag).flags.stitch_flags, 0) << "much motion does not";
            uinitJoint();
        }
}

}  // namespace
}  // namespace brantel::test
