// The mosaic as a whole: its start, the decision to merge, merging, the answer to the caller.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "compose/mosaic.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::Lines;
using test::listen;

TEST(FillZeroSamples, TurnsZerosIntoOnesAndNothingElse) {
    std::vector<std::uint8_t> frame{0, 1, 2, 255, 0, 0, 7};
    fillZeroSamples(frame.data(), 6);
    EXPECT_EQ(frame, (std::vector<std::uint8_t>{1, 1, 2, 255, 1, 1, 7}));
    for (const std::size_t length : {1U, 31U, 64U, 65U, 200U}) {
        std::vector<std::uint8_t> bytes(length + 1, 0);
        fillZeroSamples(bytes.data(), static_cast<std::int64_t>(length));
        EXPECT_EQ(bytes.back(), 0);
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 1), static_cast<std::ptrdiff_t>(length));
    }
}

Mosaic startedMosaic(const FrameSize& size, std::vector<std::uint8_t>* frame = nullptr) {
    const auto pixels = test::randomBytes(size.bytes(), 1);
    Mosaic mosaic;
    EXPECT_TRUE(startMosaic(mosaic, pixels.data(), size));
    if (frame != nullptr) *frame = pixels;
    return mosaic;
}

TEST(StartMosaic, A2048FrameLiesAt1976OnA6000Canvas) {
    const Mosaic mosaic = startedMosaic({2048, 2048, 1});
    EXPECT_EQ(mosaic.canvas.rows, 6000);
    EXPECT_EQ(mosaic.canvas.cols, 6000);
    EXPECT_EQ(mosaic.record.frameX, 1976);
    EXPECT_EQ(mosaic.record.frameY, 1976);
    EXPECT_EQ(mosaic.maximum, (CornerPoint{4024, 4024}));
}

TEST(StartMosaic, A7000ColumnFrameGives9000CanvasColumns) {
    const Mosaic mosaic = startedMosaic({50, 7000, 1});
    EXPECT_EQ(mosaic.canvas.cols, 9000);
    EXPECT_EQ(mosaic.canvas.rows, 6000);
    EXPECT_EQ(mosaic.record.frameX, 1000);
    EXPECT_EQ(mosaic.record.frameY, 2975);
}

TEST(StartMosaic, EachTermOfTheCentreIsHalvedForItself) {
    const Mosaic mosaic = startedMosaic({77, 6001, 1});
    EXPECT_EQ(mosaic.canvas.cols, 8001);
    EXPECT_EQ(mosaic.record.frameX, 4000 - 3000);
    EXPECT_EQ(mosaic.record.frameY, 3000 - 38);
}

TEST(StartMosaic, TheCanvasIsBlackAroundTheFrame) {
    for (const std::int32_t channels : {1, 3}) {
        const FrameSize size{30, 50, channels};
        std::vector<std::uint8_t> frame;
        const Mosaic mosaic = startedMosaic(size, &frame);
        EXPECT_EQ(mosaic.canvas.type(), channels == 3 ? CV_8UC3 : CV_8UC1);
        const cv::Rect place(mosaic.minimum.x, mosaic.minimum.y, size.cols, size.rows);
        const cv::Mat pasted = mosaic.canvas(place).clone();
        EXPECT_EQ(std::memcmp(pasted.data, frame.data(), frame.size()), 0);
        double sum = 0;
        for (const std::uint8_t sample : frame) sum += sample;
        EXPECT_EQ(cv::sum(mosaic.canvas.reshape(1))[0], sum);
    }
}

TEST(StartMosaic, ReportsAFrameThatCannotBePasted) {
    Mosaic mosaic;
    const auto said = listen([&] { return startMosaic(mosaic, nullptr, {30, 50, 1}); });
    EXPECT_FALSE(said.result);
    ASSERT_EQ(said.lines.size(), 2U);
    EXPECT_EQ(said.lines[1], "willSmallImgToBigImgAssignRowCol failed");
}

TEST(HoldsFramesOf, NeedsACanvasOfTheSameChannels) {
    EXPECT_FALSE(holdsFramesOf(Mosaic{}, {30, 50, 1}));
    const Mosaic mosaic = startedMosaic({30, 50, 1});
    EXPECT_TRUE(holdsFramesOf(mosaic, {30, 50, 1}));
    EXPECT_FALSE(holdsFramesOf(mosaic, {30, 50, 3}));
}

std::int32_t shiftOf(std::int32_t x, std::int32_t y, std::int32_t rows, std::int32_t cols,
                     std::int32_t matches = 11) {
    StitchFlags record{};
    record.offset = {x, y};
    record.matchCount = matches;
    return mergeableShift(record, rows, cols);
}

TEST(MergeableShift, AnExactTenthIsTooLittle) {
    for (const std::int32_t side : {100, 480, 1000, 2048, 5000}) {
        const std::int32_t tenth = side / 10;
        EXPECT_EQ(shiftOf(tenth, 0, 50, side), side % 10 == 0 ? -1 : shiftOf(tenth, 0, 50, side));
        EXPECT_EQ(shiftOf(tenth + 1, 0, 50, side), tenth + 1) << side;
        EXPECT_EQ(shiftOf(-(tenth + 1), 0, 50, side), tenth + 1) << side;
    }
    EXPECT_EQ(shiftOf(10, 0, 50, 100), -1);
    EXPECT_EQ(shiftOf(0, 100, 1000, 50), -1);
}

TEST(MergeableShift, TheLowerLimitLiesJustAboveATenth) {
    // 0.100000024 * 10,000,000 exceeds 1,000,000 in single precision
    EXPECT_EQ(shiftOf(1000000, 0, 50, 10000000), -1);
    EXPECT_EQ(shiftOf(1000001, 0, 50, 10000000), 1000001);
}

TEST(MergeableShift, NineTenthsOrMoreAreTooMuch) {
    EXPECT_EQ(shiftOf(899, 0, 50, 1000), 899);
    EXPECT_EQ(shiftOf(900, 0, 50, 1000), -1);
    EXPECT_EQ(shiftOf(-900, 0, 50, 1000), -1);
    EXPECT_EQ(shiftOf(0, -901, 1000, 50), -1);
    EXPECT_EQ(shiftOf(0, -899, 1000, 50), 899);
}

TEST(MergeableShift, TheLargerComponentIsMeasuredAgainstItsOwnSide) {
    EXPECT_EQ(shiftOf(150, 149, 10000, 1000), 150) << "columns decide";
    EXPECT_EQ(shiftOf(149, 150, 1000, 10000), 150) << "rows decide";
    EXPECT_EQ(shiftOf(150, 150, 10000, 1000), -1) << "a tie is measured against the rows";
    EXPECT_EQ(shiftOf(150, -150, 1000, 10000), 150);
}

TEST(MergeableShift, ElevenMatchesSufficeTenDoNot) {
    EXPECT_EQ(shiftOf(300, 0, 500, 1000, 11), 300);
    EXPECT_EQ(shiftOf(300, 0, 500, 1000, 10), -1);
}

TEST(MergeFrame, PastesTheFusedPatchAndMovesPositionAndBounds) {
    const FrameSize size{40, 60, 1};
    Mosaic mosaic = startedMosaic(size);
    mosaic.record.offset = {20, -10};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    ASSERT_TRUE(mergeFrame(mosaic, size, patch.data(), [&](std::uint8_t* p) {
        EXPECT_EQ(p[0], 0) << "the cut starts above the first frame";
        std::memset(p, 200, patch.size());
        return p;
    }));
    EXPECT_EQ(mosaic.position(), (CornerPoint{2970 + 20, 2980 - 10}));
    EXPECT_EQ(mosaic.minimum, (CornerPoint{2970, 2970}));
    EXPECT_EQ(mosaic.maximum, (CornerPoint{3050, 3020}));
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(2970, 2990), 200);
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(3009, 3049), 200);
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(3009, 3050), 0);
}

TEST(MergeFrame, GrowsByOneFrameOnEachSideThatNeedsIt) {
    const FrameSize size{40, 60, 3};
    Mosaic mosaic = startedMosaic(size);
    mosaic.record.frameX = 10;
    mosaic.record.frameY = 5950;
    mosaic.record.offset = {-20, 15};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    ASSERT_TRUE(mergeFrame(mosaic, size, patch.data(), [](std::uint8_t* p) { return p; }));
    EXPECT_EQ(mosaic.canvas.rows, 6040);
    EXPECT_EQ(mosaic.canvas.cols, 6060);
    EXPECT_EQ(mosaic.position(), (CornerPoint{10 + 60 - 20, 5965}));
}

TEST(MergeFrame, AFusionThatThrowsChangesNothing) {
    const FrameSize size{40, 60, 1};
    Mosaic mosaic = startedMosaic(size);
    const cv::Mat before = mosaic.canvas.clone();
    const Mosaic kept = mosaic;
    mosaic.record.offset = {20, -10};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    const auto noMemory = [](std::uint8_t*) -> const std::uint8_t* { throw std::bad_alloc(); };
    EXPECT_THROW(mergeFrame(mosaic, size, patch.data(), noMemory), std::bad_alloc);
    EXPECT_EQ(mosaic.position(), kept.position());
    EXPECT_EQ(mosaic.maximum, kept.maximum);
    EXPECT_EQ(cv::norm(mosaic.canvas, before, cv::NORM_INF), 0);
}

TEST(MosaicBackup, PutsEverythingBackUnlessTheChangesAreKept) {
    Mosaic mosaic = startedMosaic({40, 60, 1});
    const Mosaic before = mosaic;
    {
        MosaicBackup backup(mosaic);
        mosaic = startedMosaic({50, 70, 3});
        mosaic.record.matchCount = 99;
    }
    EXPECT_EQ(mosaic.canvas.data, before.canvas.data);
    EXPECT_EQ(mosaic.minimum, before.minimum);
    EXPECT_EQ(mosaic.record.matchCount, 0);
    {
        MosaicBackup backup(mosaic);
        mosaic.record.matchCount = 99;
        backup.keepChanges();
    }
    EXPECT_EQ(mosaic.record.matchCount, 99);
}

TEST(MergeFrame, AFrameStillOutsideAfterGrowingChangesNothing) {
    const FrameSize size{40, 60, 1};
    Mosaic mosaic = startedMosaic(size);
    const cv::Mat before = mosaic.canvas;
    mosaic.record.frameX = 10;
    mosaic.record.offset = {-200, 0};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    EXPECT_FALSE(mergeFrame(mosaic, size, patch.data(), [](std::uint8_t* p) {
        ADD_FAILURE() << "there is nothing to fuse";
        return p;
    }));
    EXPECT_EQ(mosaic.record.frameX, 10);
    EXPECT_EQ(mosaic.canvas.data, before.data);
    EXPECT_EQ(mosaic.canvas.cols, 6000);
}

struct Decisions {
    int merged = 0;
    int kept = 0;
    bool result = false;
    Lines lines;
};

Decisions decide(std::int32_t flag, std::int32_t shift, bool mergeResult = true) {
    Mosaic mosaic;
    mosaic.record.stitch_flags = flag;
    mosaic.record.offset = {shift, 0};
    mosaic.record.matchCount = 30;
    Decisions out;
    const auto said = listen([&] {
        return mergeIfSuitable(
            mosaic, {480, 640, 1},
            [&] {
                ++out.merged;
                return mergeResult;
            },
            [&] { ++out.kept; });
    });
    out.result = said.result;
    out.lines = said.lines;
    return out;
}

TEST(MergeIfSuitable, MergesAndSaysTheShift) {
    const Decisions d = decide(1, -300);
    EXPECT_TRUE(d.result);
    EXPECT_EQ(d.merged, 1);
    EXPECT_EQ(d.kept, 0);
    EXPECT_EQ(d.lines, Lines{"kkkkkkkkkkkkkkkkkkkkkkk300"});
}

TEST(MergeIfSuitable, ATooSmallShiftKeepsTheOldTemplate) {
    const Decisions d = decide(1, 20);
    EXPECT_TRUE(d.result);
    EXPECT_EQ(d.merged, 0);
    EXPECT_EQ(d.kept, 1);
    EXPECT_TRUE(d.lines.empty());
}

TEST(MergeIfSuitable, AFrameThatFailedItsTestChangesNothing) {
    const Decisions d = decide(0, 300);
    EXPECT_TRUE(d.result);
    EXPECT_EQ(d.merged + d.kept, 0);
}

TEST(MergeIfSuitable, AFailedMergeFailsWithoutALine) {
    const Decisions d = decide(1, 300, false);
    EXPECT_FALSE(d.result);
    EXPECT_TRUE(d.lines.empty());
}

TEST(AreaResult, TurnsToOneWhenTheAreaReachesTheLimit) {
    cv::Mat canvas(100, 200, CV_8UC1);
    EXPECT_EQ(areaResult(canvas, 100, 201), 0);
    EXPECT_EQ(areaResult(canvas, 100, 200), 1);
    EXPECT_EQ(areaResult(canvas, 1, 1), 1);
    EXPECT_EQ(areaResult(canvas, -1, 1), 1) << "a negative limit is always reached";
    EXPECT_EQ(areaResult(cv::Mat(), 0, 5), 1);
}

TEST(AreaResult, BothProductsAreSigned32BitAndWrap) {
    const cv::Mat canvas(100, 200, CV_8UC1);
    EXPECT_EQ(areaResult(canvas, 65536, 65536), 1) << "2^32 wraps to 0";
    EXPECT_EQ(areaResult(canvas, 65536, 32768), 1) << "2^31 wraps to the smallest number";
    EXPECT_EQ(areaResult(canvas, 46341, 46341), 1) << "wraps to a negative number";
    EXPECT_EQ(areaResult(canvas, 46340, 46340), 0);
    // a header of 50000 x 50000 pixels over one row: only its numbers are read
    std::vector<std::uint8_t> row(50000);
    const cv::Mat huge(50000, 50000, CV_8UC1, row.data(), 50000);
    EXPECT_EQ(areaResult(huge, 1, 1), 0) << "2,500,000,000 wraps to a negative number";
    const cv::Mat wide(20000, 20000, CV_8UC1, row.data(), 20000);
    EXPECT_EQ(areaResult(wide, 20000, 20000), 1) << "400,000,000 pixels are enough";
    const cv::Mat less(19999, 20000, CV_8UC1, row.data(), 20000);
    EXPECT_EQ(areaResult(less, 20000, 20000), 0);
}

struct Answer {
    MosaicCorner minimum{-1, -1};
    MosaicCorner maximum{-1, -1};
    cv::Mat canvas;
    StitchFlags flags{};
    std::int32_t result = -9;
    Lines lines;
};

template <class Stitch>
Answer answer(const Mosaic& mosaic, Stitch&& stitch) {
    Answer a;
    StitchCall call{};
    call.minCorner = &a.minimum;
    call.maxCorner = &a.maximum;
    call.mosaic = &a.canvas;
    call.flags = &a.flags;
    const auto said = listen([&] { return answerStitchCall(call, mosaic, 20000, 20000, stitch); });
    a.result = said.result;
    a.lines = said.lines;
    return a;
}

TEST(AnswerStitchCall, WritesTheOutputsOnEveryResult) {
    Mosaic mosaic = startedMosaic({30, 50, 1});
    mosaic.record.matchCount = 33;
    const auto throwing = []() -> bool { throw std::runtime_error("out of luck"); };
    for (const Answer& a : {answer(mosaic, [] { return true; }), answer(mosaic, [] { return false; }),
                            answer(mosaic, throwing)}) {
        EXPECT_EQ(a.minimum.x, mosaic.minimum.x);
        EXPECT_EQ(a.minimum.y, mosaic.minimum.y);
        EXPECT_EQ(a.maximum.x, mosaic.maximum.x);
        EXPECT_EQ(a.maximum.y, mosaic.maximum.y);
        EXPECT_EQ(a.canvas.data, mosaic.canvas.data) << "a shared header";
        EXPECT_EQ(a.flags.matchCount, 33);
        EXPECT_EQ(a.flags.frameX, mosaic.record.frameX);
    }
}

TEST(AnswerStitchCall, FailuresAndExceptionsBecomeMinusOne) {
    const Mosaic mosaic = startedMosaic({30, 50, 1});
    EXPECT_EQ(answer(mosaic, [] { return true; }).result, 0);
    EXPECT_EQ(answer(mosaic, [] { return false; }).result, -1);
    const Answer thrown = answer(mosaic, []() -> bool { throw std::runtime_error("out of luck"); });
    EXPECT_EQ(thrown.result, -1);
    EXPECT_EQ(thrown.lines, Lines{"stichingImagedJoint failed: out of luck"});
}

TEST(AnswerStitchCall, NullOutputPointersAreSkipped) {
    const Mosaic mosaic = startedMosaic({30, 50, 1});
    EXPECT_EQ(answerStitchCall(StitchCall{}, mosaic, 20000, 20000, [] { return true; }), 0);
}

}  // namespace
}  // namespace brantel
