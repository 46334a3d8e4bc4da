// Frames that are missing, tiny, of a wrong kind or too large.
#include <limits>

#include "boundary/fixture.h"

namespace brantel::test {
namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

class BadFrames : public BoundaryTest {
  protected:
    static void expectRefused(std::int32_t rows, std::int32_t cols, std::int32_t channels,
                              const std::string& reason) {
        SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(cols) + " x " + std::to_string(channels));
        const Lines lines = captureLines([&] { EXPECT_FALSE(init(rows, cols, channels)); });
        EXPECT_EQ(lines, Lines{"initJoint refused: " + reason});
        GuardedFrame any = frame(0, 0, 2, 2, 1);
        EXPECT_EQ(stitch(any.get(), any.get(), 0).result, -1);
    }
};

TEST_F(BadFrames, SizesBelow1AreRefused) {
    const std::string reason = "rows and columns must be positive, channels 1 or 3";
    for (const std::int32_t bad : {0, -1, -100, lowest}) {
        expectRefused(bad, 100, 1, reason);
        expectRefused(100, bad, 3, reason);
        expectRefused(bad, bad, 1, reason);
    }
}

TEST_F(BadFrames, ChannelsOtherThan1And3AreRefused) {
    for (const std::int32_t bad : {0, 2, 4, -1, -3, 16, lowest, highest})
        expectRefused(100, 100, bad, "rows and columns must be positive, channels 1 or 3");
}

TEST_F(BadFrames, SizesWithoutAPossibleCanvasAreRefusedBeforeMemoryIsTouched) {
    const std::string reason = "the canvas of such frames would have more than 2147483647 pixels";
    for (const std::int32_t channels : {1, 3}) {
        expectRefused(highest, highest, channels, reason);
        expectRefused(highest, 1, channels, reason);
        expectRefused(1, highest, channels, reason);
        expectRefused(highest - 2000, 100, channels, reason);
        expectRefused(1 << 30, 1 << 30, channels, reason);
        expectRefused(100000, 100000, channels, reason);
        expectRefused(44341, 44341, channels, reason);
    }
}

TEST_F(BadFrames, EveryCombinationOfNullPointersIsAnswered) {
    ASSERT_TRUE(init(100, 120, 1));
    for (const std::int32_t continueFlag : {0, 1})
        for (unsigned given = 0; given < 64; ++given) {
            SCOPED_TRACE(given);
            GuardedFrame first = frame(0, 0, 100, 120, 1);
            GuardedFrame current = frame(3, 3, 100, 120, 1);
            MosaicCorner low{-7, -7};
            MosaicCorner high{-7, -7};
            cv::Mat mosaic;
            StitchFlags flags{};
            const auto pass = [&](unsigned bit, auto* pointer) {
                return (given >> bit & 1U) != 0 ? pointer : nullptr;
            };
            const std::int32_t result =
                stichingImagedJoint(pass(0, first->data()), pass(1, current->data()), continueFlag, 1, 0, 0,
                                    false, pass(2, &low), pass(3, &high), pass(4, &mosaic), pass(5, &flags));
            const bool framesGiven = (given & 2U) != 0 && (continueFlag != 0 || (given & 1U) != 0);
            if (!framesGiven) {
                EXPECT_EQ(result, -1);
            }
            EXPECT_EQ(low.x == -7, (given & 4U) == 0) << "written when it can be";
            EXPECT_EQ(high.x == -7, (given & 8U) == 0);
        }
}

TEST_F(BadFrames, NullFramesLeaveTheirLines) {
    ASSERT_TRUE(init(100, 120, 1));
    GuardedFrame any = frame(0, 0, 100, 120, 1);
    const auto linesOf = [&](GuardedBuffer<std::uint8_t>* first, GuardedBuffer<std::uint8_t>* current) {
        return withoutStartLine(captureLines([&] { EXPECT_EQ(stitch(first, current, 0).result, -1); }));
    };
    EXPECT_EQ(linesOf(any.get(), nullptr),
              (Lines{"thedestImage is NULL", "stitchingImageOffset ptr is null"}));
    EXPECT_EQ(linesOf(nullptr, any.get()), Lines{"stitchingImageOffset ptr is null"});
}

TEST_F(BadFrames, ARefusedNullFrameLeavesTheMosaicAlone) {
    ASSERT_TRUE(init(160, 240, 1));
    GuardedFrame first = frame(0, 0, 160, 240, 1);
    GuardedFrame second = frame(100, 0, 160, 240, 1);
    GuardedFrame third = frame(200, 0, 160, 240, 1);
    const StitchOutputs before = stitch(first.get(), second.get(), 0);
    ASSERT_EQ(before.result, 0);
    EXPECT_EQ(stitch(nullptr, nullptr, 0).result, -1);
    EXPECT_EQ(stitch(first.get(), nullptr, 0).result, -1);
    EXPECT_EQ(stitch(nullptr, nullptr, 1).result, -1);
    const StitchOutputs after = stitch(nullptr, third.get(), 1);
    EXPECT_EQ(after.result, 0);
    EXPECT_EQ(after.flags.frameX, before.flags.frameX + after.flags.offset.x);
    EXPECT_NEAR(after.flags.offset.x, 100, 2);
    EXPECT_EQ(after.mosaic.data, before.mosaic.data);
}

class TinyFrames : public BoundaryTest {
  protected:
    /// Neither a new mosaic nor going on with it may register, read or write beside the frames.
    static void expectNoCorners(std::int32_t rows, std::int32_t cols, std::int32_t channels,
                                std::int32_t mainMode) {
        SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(cols) + " x " + std::to_string(channels));
        ASSERT_TRUE(init(rows, cols, channels, 1, mainMode));
        for (const Guard guard : {Guard::behind, Guard::before}) {
            GuardedFrame first = frame(0, 0, rows, cols, channels, guard);
            GuardedFrame second = frame(1, 1, rows, cols, channels, guard);
            const StitchOutputs out = stitch(first.get(), second.get(), 0);
            EXPECT_EQ(out.result, -1);
            EXPECT_EQ(out.maxCorner.x - out.minCorner.x, cols);
            EXPECT_EQ(out.maxCorner.y - out.minCorner.y, rows);
            EXPECT_EQ(stitchExpecting(nullptr, second.get(), 1, 1, 1, -1).result, -1);
            EXPECT_EQ(stitch(nullptr, second.get(), 1, 2).result, -1);
            EXPECT_TRUE(first->intact() && second->intact());
        }
        uinitJoint();
    }
};

TEST_F(TinyFrames, SquaresOf1To41HaveNoCorners) {
    for (std::int32_t side = 1; side <= 41; ++side) expectNoCorners(side, side, 1, side % 2);
}

TEST_F(TinyFrames, ColourSquaresHaveNoCorners) {
    for (const std::int32_t side : {1, 2, 3, 5, 8, 40, 41}) expectNoCorners(side, side, 3, side % 2);
}

TEST_F(TinyFrames, ThinStripsHaveNoCorners) {
    for (const std::int32_t thin : {1, 2, 3, 4, 5, 41, 80}) {
        expectNoCorners(thin, 300, 1, 1);
        expectNoCorners(300, thin, 1, 0);
    }
}

}  // namespace
}  // namespace brantel::test
