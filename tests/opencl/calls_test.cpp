// Single stitch calls through OpenCL: lines, state, refusals.
#include <algorithm>

#include "compose/grey.h"
#include "compose/motion.h"
#include "opencl/stream_machine.h"

namespace brantel::test {

namespace {

class OpenClCalls : public StreamMachine {};

TEST_F(OpenClCalls, AMergedFrameSaysSoOnBothChannels) {
    open(1);
    const CallReport started = start(frameAt(20, 20), frameAt(120, 20));
    EXPECT_EQ(started.out.result, 0);
    EXPECT_EQ(started.output,
              (Lines{"pretJudgeCh1Kernel::::::::::::::", "imageMosaicFun in", "kkkkkkkkkkkkkkkkkkkkkkk100"}));
    EXPECT_EQ(started.debug,
              (Lines{"stitchingImageOffsetCL 0", "1== GStitchMode", "flags.stitch_flags = 1;"}));
    const CallReport continued = next(frameAt(120, 100));
    EXPECT_EQ(continued.output,
              (Lines{"pretJudgeCh1Kernel::::::::::::::", "imageMosaicFun in", "kkkkkkkkkkkkkkkkkkkkkkk80"}));
    EXPECT_EQ(continued.debug.front(), "stitchingImageOffsetCL 1");
}

TEST_F(OpenClCalls, BrightnessModeSaysSoAndMeasures) {
    open(3, 0);
    const CallReport report = start(frameAt(20, 20), frameAt(120, 20));
    EXPECT_EQ(report.out.result, 0);
    EXPECT_EQ(report.debug,
              (Lines{"stitchingImageOffsetCL 0", "0 == GStitchMode", "flags.stitch_flags = 1;"}));
    EXPECT_EQ(report.output.front(), "pretJudgeCh1Kernel::::::::::::::");
    EXPECT_GT(report.out.flags.prevMean, 16.0F);
    EXPECT_EQ(report.out.flags.prevMean, report.out.flags.curMean);
}

TEST_F(OpenClCalls, MotionBeyondTheStrictThresholdIsNotMerged) {
    open(1);
    engine().modes = {1, 1};
    const CallReport report = start(frameAt(20, 20), frameAt(120, 20));
    EXPECT_EQ(report.out.result, 0);
    EXPECT_EQ(report.out.flags.stitch_flags, 0);
    EXPECT_EQ(report.debug.back(), "flags.stitch_flags = 0;");
    EXPECT_EQ(report.out.maxCorner.x - report.out.minCorner.x, cols);
}

/// The CPU's measure of the same pair.
std::int64_t motionOnCpu(const Frame& a, const Frame& b, std::int32_t rows, std::int32_t cols) {
    const ImageDesc desc{0, 3, rows, cols};
    Buffer<std::uint8_t> greys[2];
    makeGrey(a.data(), desc, greys[0], nullptr);
    makeGrey(b.data(), desc, greys[1], nullptr);
    return MotionReference().measure(greys[0].data(), greys[1].data(), rows, cols, nullptr);
}

TEST_F(OpenClCalls, MotionIsMeasuredAsOnTheCpu) {
    open(3);
    Frame first = frameAt(20, 20);
    Frame second = frameAt(120, 20);
    ASSERT_EQ(start(first, second).out.result, 0);
    std::uint8_t* lastSeen = engine().lastSeen.data();
    EXPECT_TRUE(std::equal(second.begin(), second.end(), lastSeen));
    std::int64_t none = -1;
    ASSERT_TRUE(engine().measureMotion(&none));
    EXPECT_EQ(none, 0);
    std::copy(first.begin(), first.end(), lastSeen);
    std::int64_t motion = -1;
    ASSERT_TRUE(engine().measureMotion(&motion));
    EXPECT_GT(motion, 0);
    EXPECT_EQ(motion, motionOnCpu(first, second, rows, cols));
}

TEST_F(OpenClCalls, AFrameThatShiftsTooLittleBecomesTheTemplateUnplaced) {
    open(1);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    const CallReport small = next(frameAt(130, 20));
    EXPECT_EQ(small.out.result, 0);
    EXPECT_EQ(small.out.flags.offset.x, 10);
    EXPECT_EQ(engine().mosaic.templateState, TemplateState::unplaced);
    const CallReport wide = next(frameAt(230, 20));
    EXPECT_EQ(wide.out.flags.offset.x, 100);
    EXPECT_EQ(wide.out.flags.frameX, small.out.flags.frameX + 100);
    EXPECT_EQ(engine().mosaic.templateState, TemplateState::placed);
}

TEST_F(OpenClCalls, ZeroSamplesBecomeOneInBothOfTheCallersFrames) {
    for (const std::int32_t channels : {1, 3}) {
        open(channels);
        Frame first = frameAt(20, 20);
        Frame second = frameAt(120, 20);
        first.front() = second.front() = 0;
        first.back() = second.back() = 0;
        EXPECT_EQ(call(first.data(), second.data(), false).out.result, 0);
        EXPECT_EQ(first.front() + first.back() + second.front() + second.back(), 4);
        renew();
    }
}

TEST_F(OpenClCalls, AFeaturelessPairIsReportedByBothThreads) {
    open(1);
    const Frame flat(static_cast<std::size_t>(rows) * cols, 90);
    const CallReport report = start(flat, flat);
    EXPECT_EQ(report.out.result, -1);
    for (const char* line :
         {"HarrissCornerSPoint22222222222 size is 0", "HarrissCornerSPoint size is111111111111 0"})
        EXPECT_EQ(std::count(report.output.begin(), report.output.end(), line), 1) << line;
}

TEST_F(OpenClCalls, UnrelatedFramesHaveTooFewMatches) {
    open(1);
    const CallReport report = start(makePicture(Texture::fine, rows, cols, 1, 1).pixels,
                                    makePicture(Texture::fine, rows, cols, 1, 2).pixels);
    EXPECT_EQ(report.out.result, -1);
    EXPECT_EQ(report.output.back(), "RansacSPointNum<10");
    EXPECT_LE(report.out.flags.matchCount, 10);
}

TEST_F(OpenClCalls, NullFramesAreRefused) {
    open(1);
    Frame frame = frameAt(20, 20);
    const CallReport noCurrent = call(frame.data(), nullptr, false);
    EXPECT_EQ(noCurrent.out.result, -1);
    EXPECT_EQ(noCurrent.output, (Lines{"thedestImage is NULL", "stitchingImageOffset ptr is null"}));
    const CallReport noFirst = call(nullptr, frame.data(), false);
    EXPECT_EQ(noFirst.out.result, -1);
    EXPECT_EQ(noFirst.output, Lines{"stitchingImageOffset ptr is null"});
    EXPECT_FALSE(engine().imageMosaicFun());  // no frame was taken by now
    EXPECT_EQ(lines().take().output, "imageMosaicFun ptr is null\n");
}

TEST_F(OpenClCalls, BeforeInitialisationAndAfterTearDownEveryCallIsRefused) {
    Frame frame(static_cast<std::size_t>(rows) * cols, 90);
    EXPECT_EQ(call(frame.data(), frame.data(), false).out.result, -1);
    open(1);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    tearDownLines();
    EXPECT_EQ(call(frame.data(), frame.data(), false).out.result, -1);
}

TEST_F(OpenClCalls, WorkAgainAfterTearDown) {
    open(1);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    tearDownLines();
    open(3);
    EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
}

TEST_F(OpenClCalls, LargerFramesThanTheKeptBuffersAreRefused) {
    open(1);
    ASSERT_TRUE(init({rows + 1, cols, 1, 1, 20000, 20000}).ready);
    Frame frame(static_cast<std::size_t>(rows + 1) * cols, 90);
    const CallReport report = call(frame.data(), frame.data(), false);
    EXPECT_EQ(report.out.result, -1);
    EXPECT_EQ(report.output, Lines{"ptr is null"});
    ASSERT_TRUE(init({rows, cols, 1, 1, 20000, 20000}).ready);
    EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
}

TEST_F(OpenClCalls, NothingIsPlacedOnANewMosaicBeforeAFrameWasAccepted) {
    open(1);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    const Frame flat(static_cast<std::size_t>(rows) * cols, 90);
    ASSERT_EQ(start(frameAt(20, 20), flat).out.result, -1);
    EXPECT_EQ(next(frameAt(220, 20)).out.result, -1);
    EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
}

TEST_F(OpenClCalls, TinyFramesHaveNoCorners) {
    for (const std::int32_t side : {1, 7, 81}) {
        ASSERT_TRUE(init({side, 90, 1, 1, 20000, 20000}).ready);
        Frame frame = randomBytes(std::int64_t{side} * 90, 3);
        EXPECT_EQ(call(frame.data(), frame.data(), false).out.result, -1) << side;
        renew();
    }
}

/// Frames as small as an interpreter of kernels can bear, through every kernel that a stream runs.
TEST_F(OpenClCalls, SmallFramesPassThroughEveryStage) {
    for (const std::int32_t mainMode : {0, 1})
        for (const std::int32_t channels : {1, 3}) {
            const std::int32_t width = channels == 1 ? 136 : 137;
            const Picture picture = makePicture(Texture::fine, 140, 200, channels, 8);
            ASSERT_TRUE(init({112, width, channels, 8, 20000, 20000}, {mainMode, 0}).ready);
            const CallReport merged =
                start(picture.window(0, 0, 112, width), picture.window(16, 0, 112, width));
            EXPECT_EQ(merged.out.result, 0);
            EXPECT_GT(merged.out.maxCorner.x - merged.out.minCorner.x, width);
            EXPECT_EQ(callsOf("NULL ARGUMENT"), 0U);
            renew();
        }
}

TEST_F(OpenClCalls, ReducedFramesFillTheFrontOfTheFrame) {
    open(1);
    Frame first = frameAt(20, 20);
    Frame second = frameAt(120, 20);
    const CallReport report = call(first.data(), second.data(), false, {}, 2);
    // Half the shift, at half the size.
    EXPECT_EQ(report.out.result, 0);
    EXPECT_EQ(report.out.flags.offset.x, 50);
    EXPECT_EQ(report.out.flags.offset.y, 0);
    Frame expected(second.size());  // what is not filled stays black
    for (std::int32_t y = 0; y < rows / 2; ++y)
        for (std::int32_t x = 0; x < cols / 2; ++x)
            expected[static_cast<std::size_t>(y * (cols / 2) + x)] =
                second[static_cast<std::size_t>(2 * y * cols + 2 * x)];
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), engine().clFrameCopyB.data()));
}

TEST_F(OpenClCalls, KernelsCoverTheFrameInTilesWithAWholeOneAdded) {
    ASSERT_TRUE(init({480, 640, 3, 1, 20000, 20000}).ready);
    picture_ = makePicture(Texture::fine, 480, 760, 3, 8);
    forget();
    EXPECT_EQ(start(picture_.window(0, 0, 480, 640), picture_.window(100, 0, 480, 640)).out.result, 0);
    const Lines ranges = traceOf("range");
    for (const char* range :
         {"pretJudgeImageCh3Kernel 656/16 496/16", "rgb2GaryKernel 656/16 496/16",
          "rgb2GaryKernel2 656/16 496/16", "opencvInterLineARResizeDownCh1Kernel 336/16 256/16",
          "findGradSquareCrossTermsKernel2 336/16 256/16", "opencvcopyFilter2DBorderRowFloat 336/16 256/16",
          "opencvcopyFilter2DBorderColFloat2 16/16 256/16", "opencvFilter2DRowCalcFloatWin5 336/16 256/16",
          "opencvFilter2DColCalcFloatWin52 336/16 256/16",
          "opencvcopyFilter2DTakeOutBoundFloat 336/16 256/16", "absCalcKernel 656/16 496/16",
          "getWeightImageKernel 656/16 496/16", "getFusionImageKernelCh3 656/16 496/16"})
        EXPECT_NE(std::find(ranges.begin(), ranges.end(), range), ranges.end()) << range;
}

TEST_F(OpenClCalls, TheGreyMaskKernelCoversWhatItTakesForRowsAndColumns) {
    open(1);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    const Lines ranges = traceOf("range");
    EXPECT_EQ(std::count(ranges.begin(), ranges.end(), "rgb2GaryFloatTwoCh1Kernel 224/16 304/16"), 1);
}

TEST_F(OpenClCalls, TheTwoThreadsNeverShareAKernel) {
    open(3);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    const Lines ranges = traceOf("range");
    const auto runs = [&](const std::string& name) {
        return std::count_if(ranges.begin(), ranges.end(), [&](const std::string& range) {
            return range.compare(0, name.size() + 1, name + " ") == 0;
        });
    };
    for (const std::string name : {"rgb2GaryKernel", "opencvInterLineARResizeDownCh1Kernel",
                                   "findGradSquareCrossTermsKernel", "opencvcopyFilter2DBorderRowFloat",
                                   "opencvcopyFilter2DBorderColFloat", "opencvFilter2DRowCalcFloatWin5",
                                   "opencvFilter2DColCalcFloatWin5", "opencvcopyFilter2DTakeOutBoundFloat"}) {
        const bool grey = name == "rgb2GaryKernel";  // also runs in the motion test, twice
        EXPECT_EQ(runs(name), runs(name + "2") + (grey ? 2 : 0)) << name;
        EXPECT_GT(runs(name + "2"), 0) << name;
    }
}

TEST_F(OpenClCalls, HaveTheirStateUnderTheBackendsOwnNamesInWhichRowsAreTheWidth) {
    open(3);
    start(frameAt(20, 20), frameAt(120, 20), {100, -7, true});
    const OpenclEngine& cl = engine();
    for (const std::int32_t width : {cl.clFrameWidth, cl.clScaledWidth, cl.clWorkWidth})
        EXPECT_EQ(width, rows);
    for (const std::int32_t height : {cl.clFrameHeight, cl.clScaledHeight, cl.clWorkHeight})
        EXPECT_EQ(height, cols);
    for (const std::int32_t channels : {cl.clFrameChannels, cl.clWorkChannels}) EXPECT_EQ(channels, 3);
    EXPECT_EQ(cl.clScale, 1);
    EXPECT_EQ(cl.clDownFactor, 2);
    EXPECT_EQ(cl.clHalfWidth, rows / 2);
    EXPECT_EQ(cl.clHalfHeight, cols / 2);
    EXPECT_EQ(cl.clCornerParam, 1);
    EXPECT_EQ(cl.clRowRangeArgA, 100);
    EXPECT_EQ(cl.clRowRangeArgB, -7);
    EXPECT_TRUE(cl.clRowRangeMode);
}

TEST_F(OpenClCalls, OfTwoEnginesKnowNothingOfEachOther) {
    open(1);
    RecordedLines otherLines;
    OpenclEngine other(otherLines);
    ASSERT_TRUE(other.initJoint({rows - 40, cols - 40, 1, 2, 20000, 20000}, {0, 0}));
    EXPECT_EQ(engine().clMaxCornerNum, 181);
    EXPECT_EQ(other.clMaxCornerNum, 212);
    const CallReport started = start(frameAt(20, 20), frameAt(120, 20));
    ASSERT_EQ(started.out.result, 0);
    otherLines.take();
    Frame first = picture_.window(60, 60, rows - 40, cols - 40);
    Frame second = picture_.window(60, 140, rows - 40, cols - 40);
    StitchFlags flags{};
    ASSERT_EQ(
        other.stichingImagedJoint({first.data(), second.data(), 0, 1, {}, nullptr, nullptr, nullptr, &flags}),
        0);
    EXPECT_EQ(flags.offset.y, 80);
    EXPECT_EQ(otherLines.take().debug.at(1), "0 == GStitchMode");
    const CallReport continued = next(frameAt(220, 20));
    EXPECT_EQ(continued.out.result, 0);
    EXPECT_EQ(continued.out.flags.frameX, started.out.flags.frameX + 100);
    EXPECT_EQ(continued.debug.at(1), "1== GStitchMode");
}

}  // namespace

}  // namespace brantel::test
