// The three functions in orders that the interface does not foresee, and initialisation on top of another
// one.
#include <algorithm>
#include <thread>

#include "boundary/fixture.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;
const Lines joined{"pthread_join model_pid success", "pthread_join match_pid success"};
const Lines notJoined{"pthread_join model_pid failed", "pthread_join match_pid failed"};

class CallOrder : public BoundaryTest {
  protected:
    static std::int32_t stitchPair(std::int32_t channels = 1) {
        GuardedFrame first = frame(0, 0, rows, cols, channels);
        GuardedFrame second = frame(20, 8, rows, cols, channels);
        return stitch(first.get(), second.get(), 0).result;
    }
    static Lines linesOfTeardown() {
        return withoutStartLine(captureLines([] { EXPECT_TRUE(uinitJoint()); }));
    }
};

TEST_F(CallOrder, StitchingBeforeInitialisationFails) {
    EXPECT_EQ(stitchPair(), -1);
}

TEST_F(CallOrder, TeardownBeforeInitialisationAndTwiceIsHarmless) {
    EXPECT_EQ(linesOfTeardown(), notJoined);
    ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(linesOfTeardown(), joined);
    EXPECT_EQ(linesOfTeardown(), notJoined);
    ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(stitchPair(), 0);
}

TEST_F(CallOrder, StitchingAfterTeardownFailsAndHandsOutAnEmptyCanvas) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(stitchPair(), 0);
    uinitJoint();
    GuardedFrame any = frame(0, 0, rows, cols, 1);
    for (const std::int32_t continueFlag : {0, 1}) {
        const StitchOutputs out = stitch(any.get(), any.get(), continueFlag);
        EXPECT_EQ(out.result, -1);
        EXPECT_TRUE(out.mosaic.empty());
    }
}

TEST_F(CallOrder, GoingOnWithoutAMosaicFails) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    GuardedFrame any = frame(0, 0, rows, cols, 1);
    for (const std::int32_t continueFlag : {1, -1, 2, INT32_MIN, INT32_MAX})
        EXPECT_EQ(stitch(any.get(), any.get(), continueFlag).result, -1);
    EXPECT_EQ(stitchPair(), 0) << "and does no harm";
}

TEST_F(CallOrder, RefusedGeometryLeavesTheRunningMosaicAsItWas) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(stitchPair(), 0);
    for (const auto& [badRows, badCols, badChannels] :
         {std::tuple{-1, cols, 1}, {rows, 0, 1}, {rows, cols, 2}, {INT32_MAX, INT32_MAX, 1}})
        EXPECT_FALSE(init(badRows, badCols, badChannels));
    GuardedFrame next = frame(40, 16, rows, cols, 1);
    EXPECT_EQ(stitch(nullptr, next.get(), 1).result, 0) << "the mosaic goes on";
    EXPECT_EQ(stitchPair(), 0);
    EXPECT_EQ(linesOfTeardown(), joined);
}

TEST_F(CallOrder, LargerFramesThanTheKeptBuffersHoldAreRefused) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(stitchPair(), 0);
    ASSERT_TRUE(init(2 * rows, 2 * cols, 1, 8));
    GuardedFrame large = frame(0, 0, 2 * rows, 2 * cols, 1);
    for (const std::int32_t continueFlag : {0, 1})
        EXPECT_EQ(captureLines([&] { EXPECT_EQ(stitch(large.get(), large.get(), continueFlag).result, -1); }),
                  Lines{"ptr is null"});
    ASSERT_TRUE(init(rows, cols, 3, 8));
    EXPECT_EQ(stitchPair(3), -1) << "three channels need more, too";
    uinitJoint();
    ASSERT_TRUE(init(2 * rows, 2 * cols, 1, 8));
    EXPECT_NE(stitch(large.get(), large.get(), 0).result, -1);
}

TEST_F(CallOrder, SmallerFramesFitIntoTheKeptBuffers) {
    ASSERT_TRUE(init(3 * rows, 2 * cols, 3, 8));
    GuardedFrame large = frame(0, 0, 3 * rows, 2 * cols, 3);
    EXPECT_EQ(stitch(large.get(), large.get(), 0).result, 0);
    ASSERT_TRUE(init(rows, cols, 3, 8));
    EXPECT_EQ(stitchPair(3), 0);
}

TEST_F(CallOrder, FramesOfAnotherKindCannotGoOnWithTheOldCanvas) {
    ASSERT_TRUE(init(rows, cols, 3, 8));
    EXPECT_EQ(stitchPair(3), 0);
    ASSERT_TRUE(init(rows, cols, 1, 8));
    GuardedFrame grey = frame(40, 16, rows, cols, 1);
    EXPECT_EQ(stitch(nullptr, grey.get(), 1).result, -1);
    EXPECT_EQ(stitchPair(), 0);
    EXPECT_EQ(stitch(nullptr, grey.get(), 1).result, 0);
}

TEST_F(CallOrder, EveryShapeInTurnOnTheSameBuffersStaysInBounds) {
    // The same number of bytes in ever other shapes, going on with canvases that were made for the last one.
    const struct {
        std::int32_t rows;
        std::int32_t cols;
        std::int32_t channels;
    } shapes[] = {{120, 300, 1}, {300, 120, 1}, {100, 120, 3}, {5, 7200, 1}, {7200, 5, 1},
                  {120, 100, 3}, {90, 400, 1},  {1, 36000, 1}, {120, 300, 1}};
    for (const auto& shape : shapes) {
        ASSERT_TRUE(init(shape.rows, shape.cols, shape.channels, 8, shape.rows % 2));
        GuardedFrame first = frame(0, 0, shape.rows, shape.cols, shape.channels);
        GuardedFrame second = frame(24, 16, shape.rows, shape.cols, shape.channels);
        GuardedFrame third = frame(48, 32, shape.rows, shape.cols, shape.channels);
        stitch(nullptr, second.get(), 1);
        stitch(nullptr, third.get(), 1);
        stitch(first.get(), second.get(), 0);
        stitch(nullptr, third.get(), 1);
        EXPECT_TRUE(first->intact() && second->intact() && third->intact());
    }
}

TEST_F(CallOrder, SecondInitialisationDoublesNoThread) {
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(init(rows, cols, 1, 8));
    EXPECT_EQ(stitchPair(), 0);
    EXPECT_EQ(linesOfTeardown(), joined);
    EXPECT_EQ(linesOfTeardown(), notJoined);
}

TEST_F(CallOrder, EachFunctionMayBeCalledFromAnotherThread) {
    std::thread([] { EXPECT_TRUE(init(rows, cols, 1, 8)); }).join();
    std::thread([] { EXPECT_EQ(stitchPair(), 0); }).join();
    std::thread([] { EXPECT_TRUE(uinitJoint()); }).join();
}

TEST_F(CallOrder, TheHostsCanvasOutlivesANewMosaicAndTheTeardown) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    GuardedFrame first = frame(0, 0, rows, cols, 1);
    GuardedFrame second = frame(20, 8, rows, cols, 1);
    const StitchOutputs old = stitch(first.get(), second.get(), 0);
    ASSERT_EQ(old.result, 0);
    const std::uint64_t hash = hashOf(old.mosaic);
    const StitchOutputs fresh = stitch(second.get(), first.get(), 0);
    EXPECT_NE(fresh.mosaic.data, old.mosaic.data);
    uinitJoint();
    EXPECT_EQ(hashOf(old.mosaic), hash);
    EXPECT_FALSE(fresh.mosaic.empty());
}

}  // namespace
}  // namespace brantel::test
