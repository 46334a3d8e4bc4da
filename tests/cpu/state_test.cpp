// The CPU backend's state: what an initialisation sets and keeps, and what the end frees.
#include <gtest/gtest.h>

#include "cpu/state.h"
#include "support/camera_path.h"
#include "support/lines.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::Lines;
using test::listen;

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

const Lines joined{"pthread_join model_pid success", "pthread_join match_pid success"};
const Lines notJoined{"pthread_join model_pid failed", "pthread_join match_pid failed"};

class CpuBackendState : public testing::Test {
  protected:
    bool init(std::int32_t frameRows, std::int32_t frameCols, std::int32_t channels, std::int32_t density = 1,
              std::int32_t limitA = 20000, std::int32_t limitB = 20000) {
        return cpu.initJoint({frameRows, frameCols, channels, density, limitA, limitB}, {1, 0});
    }

    CpuEngine cpu{processLogSink()};
};

TEST(GreyTables, EndAt76And149And29) {
    const GreyTables tables;
    EXPECT_EQ(tables.t_r[255], 76);
    EXPECT_EQ(tables.t_g[255], 149);
    EXPECT_EQ(tables.t_b[255], 29);
    for (std::int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.t_r[i], i * 1224 / 4096);
        EXPECT_EQ(tables.t_g[i], i * 2404 / 4096);
        EXPECT_EQ(tables.t_b[i], i * 467 / 4096);
    }
}

TEST_F(CpuBackendState, DefaultsBeforeTheFirstInitialisation) {
    EXPECT_EQ(cpu.tuning.densityLevel, 1);
    EXPECT_EQ(cpu.tuning.budget, 181);
    EXPECT_EQ(cpu.tuning.cap, 1267);
    EXPECT_EQ(cpu.limitA, 20000);
    EXPECT_EQ(cpu.limitB, 20000);
}

TEST_F(CpuBackendState, InitialisationSetsGeometryBudgetsAndBuffers) {
    for (const std::int32_t channels : {1, 3}) {
        ASSERT_TRUE(init(rows, cols, channels, 1, 123, 456));
        EXPECT_EQ(cpu.frame.rows, rows);
        EXPECT_EQ(cpu.frame.cols, cols);
        EXPECT_EQ(cpu.tuning.budget, 181);
        EXPECT_EQ(cpu.tuning.cap, 1267);
        EXPECT_EQ(cpu.limitA, 123);
        EXPECT_EQ(cpu.limitB, 456);
        for (const ImageDesc& desc : {cpu.previousDesc, cpu.currentDesc}) {
            EXPECT_EQ(desc.reserved, 0);
            EXPECT_EQ(desc.channels, channels);
            EXPECT_EQ(desc.rows, rows);
            EXPECT_EQ(desc.cols, cols);
        }
        EXPECT_EQ(cpu.frameCapacity, std::int64_t{rows} * cols * channels);
        cpu.uinitJoint();
    }
}

TEST_F(CpuBackendState, InitialisationClearsTheRecordAndTheCorners) {
    cpu.mosaic.record.matchCount = 5;
    cpu.mosaic.record.stitch_flags = 1;
    cpu.mosaic.minimum = {3, 4};
    cpu.mosaic.maximum = {5, 6};
    ASSERT_TRUE(init(rows, cols, 1));
    EXPECT_EQ(cpu.mosaic.record.matchCount, 0);
    EXPECT_EQ(cpu.mosaic.record.stitch_flags, 0);
    EXPECT_EQ(cpu.mosaic.record.prevMean, 0.0F);
    EXPECT_EQ(cpu.mosaic.minimum, (CornerPoint{0, 0}));
    EXPECT_EQ(cpu.mosaic.maximum, (CornerPoint{0, 0}));
}

TEST_F(CpuBackendState, OnlyTheSearchMatchWorkerSaysThatItStarted) {
    const auto said = listen([&] {
        const bool ready = init(rows, cols, 1);
        cpu.uinitJoint();
        return ready;
    });
    EXPECT_TRUE(said.result);
    std::ptrdiff_t starts = 0;
    EXPECT_EQ(test::withoutStartLine(said.lines, &starts), joined);
    EXPECT_EQ(starts, 1);
}

TEST_F(CpuBackendState, ASecondInitialisationStartsNoThreadsAndKeepsTheBuffers) {
    const auto said = listen([&] {
        EXPECT_TRUE(init(rows, cols, 1));
        EXPECT_TRUE(init(rows + 100, cols, 1, 4, 7, 8));
        EXPECT_EQ(cpu.frameCapacity, std::int64_t{rows} * cols);
        EXPECT_EQ(cpu.tuning.budget, cornerBudgetFor(4));
        EXPECT_EQ(cpu.limitA, 7);
        return cpu.uinitJoint();
    });
    std::ptrdiff_t starts = 0;
    EXPECT_EQ(test::withoutStartLine(said.lines, &starts), joined);
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(listen([&] { return cpu.uinitJoint(); }).lines, notJoined) << "there was one pair to join";
}

TEST_F(CpuBackendState, FramesLargerThanTheKeptBuffersAreRefused) {
    ASSERT_TRUE(init(rows, cols, 1));
    ASSERT_TRUE(init(rows + 1, cols, 1));
    test::Frame first(static_cast<std::size_t>(rows + 1) * cols, 1);
    test::Frame second = first;
    StitchCall call{};
    call.firstFrame = first.data();
    call.currentFrame = second.data();
    call.scale = 1;
    const auto said = listen([&] { return cpu.stichingImagedJoint(call); });
    EXPECT_EQ(said.result, -1);
    EXPECT_EQ(test::withoutStartLine(said.lines), Lines{"ptr is null"});
}

TEST_F(CpuBackendState, SmallerFramesStitchInTheKeptBuffers) {
    ASSERT_TRUE(init(rows, cols, 1));
    ASSERT_TRUE(init(rows - 40, cols - 60, 1));
    const test::Picture picture = test::makePicture(test::Texture::fine, 400, 500, 1, 3);
    test::Frame first = picture.window(0, 0, rows - 40, cols - 60);
    test::Frame second = picture.window(60, 20, rows - 40, cols - 60);
    StitchFlags flags{};
    StitchCall call{};
    call.firstFrame = first.data();
    call.currentFrame = second.data();
    call.scale = 1;
    call.flags = &flags;
    EXPECT_EQ(cpu.stichingImagedJoint(call), 0);
    EXPECT_EQ(flags.offset.x, 60);
    EXPECT_EQ(flags.offset.y, 20);
}

TEST_F(CpuBackendState, TheEndFreesBuffersAndCanvasAndCanBeCalledAgain) {
    ASSERT_TRUE(init(rows, cols, 1));
    EXPECT_TRUE(cpu.uinitJoint());
    EXPECT_TRUE(cpu.templateGrey.empty() && cpu.currentSide.grey.empty());
    EXPECT_EQ(cpu.frameCapacity, 0);
    EXPECT_TRUE(cpu.mosaic.canvas.empty());
    EXPECT_TRUE(cpu.previousSide.features.corners.empty());
    const auto said = listen([&] { return cpu.uinitJoint(); });
    EXPECT_TRUE(said.result);
    EXPECT_EQ(said.lines, notJoined);
}

TEST_F(CpuBackendState, EveryInitialisationAfterAnEndStartsAfresh) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(init(rows, cols, 1 + 2 * (round % 2)));
        EXPECT_EQ(cpu.frameCapacity, std::int64_t{rows} * cols * (1 + 2 * (round % 2)));
        const auto said = listen([&] { return cpu.uinitJoint(); });
        ASSERT_GE(said.lines.size(), 2U);
        EXPECT_EQ(said.lines.back(), joined[1]);
    }
}

TEST_F(CpuBackendState, WithoutFramesTheEstimationHasNothingToWorkOn) {
    const auto said = listen([&] { return cpu.imageMosaicFun(); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"imageMosaicFun ptr is null"});
    const auto blend = listen([&] { return cpu.stitchingImageImageblend(); });
    EXPECT_FALSE(blend.result);
    EXPECT_EQ(blend.lines, Lines{"stitchingImageImageblend ptr is null"});
}

}  // namespace
}  // namespace brantel
