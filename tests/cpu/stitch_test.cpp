// Frames on their way through the CPU backend: lines, decisions, templates.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <opencv2/core.hpp>

#include "common/tuning.h"
#include "support/camera_path.h"
#include "support/lines.h"

namespace brantel {
namespace {

using test::Frame;
using test::Lines;
using test::Picture;
using test::Session;
using test::StitchOutputs;
using test::Texture;

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

const Picture& picture() {
    static const Picture one = test::makePicture(Texture::fine, 900, 1200, 1, 21);
    return one;
}

Frame frameAt(std::int32_t x, std::int32_t y) {
    return picture().window(x, y, rows, cols);
}

bool merged(const StitchOutputs& before, const StitchOutputs& after) {
    return before.flags.frameX != after.flags.frameX || before.flags.frameY != after.flags.frameY;
}

/// The start of a mosaic that is known to merge its second frame.
StitchOutputs startAt(Session& session, std::int32_t x, std::int32_t y) {
    Frame first = frameAt(x, y);
    const StitchOutputs out = session.start(first, frameAt(x + 60, y));
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(out.flags.frameX, 3000 - cols / 2 + 60);
    return out;
}

TEST(Stitch, AMergedFrameSaysTwoLines) {
    Session session({rows, cols});
    Frame first = frameAt(0, 0);
    Frame second = frameAt(80, 40);
    Lines lines;
    StitchOutputs out;
    session.start(first, frameAt(60, 0));  // the worker's own first line is out by now
    lines = test::captureLines([&] { out = session.start(first, second); });
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(lines, (Lines{"imageMosaicFun in", "kkkkkkkkkkkkkkkkkkkkkkk80"}));
    lines = test::captureLines([&] { out = session.next(frameAt(80, 140)); });
    EXPECT_EQ(lines, (Lines{"imageMosaicFun in", "kkkkkkkkkkkkkkkkkkkkkkk100"}));
    EXPECT_EQ(out.flags.offset.x, 0);
    EXPECT_EQ(out.flags.offset.y, 100);
}

TEST(Stitch, AMissingCurrentFrameSaysItsLinesAndStillAnswers) {
    Session session({rows, cols});
    const StitchOutputs before = startAt(session, 0, 0);
    StitchOutputs out;
    const Lines lines = test::captureLines([&] { out = session.next({}); });
    EXPECT_EQ(out.result, -1);
    EXPECT_EQ(lines, (Lines{"thedestImage is NULL", "stitchingImageOffset ptr is null"}));
    EXPECT_EQ(out.mosaic.data, before.mosaic.data);
    EXPECT_EQ(out.minCorner.x, before.minCorner.x);
    EXPECT_EQ(out.flags.matchCount, before.flags.matchCount);
}

TEST(Stitch, AMissingFirstFrameCannotStartAMosaic) {
    Session session({rows, cols});
    Frame current = frameAt(0, 0);
    std::int32_t result = 0;
    StitchFlags flags{};
    flags.matchCount = 5;
    const Lines lines = test::captureLines([&] {
        result = stichingImagedJoint(nullptr, current.data(), 0, 1, 0, 0, false, nullptr, nullptr, nullptr,
                                     &flags);
        uinitJoint();
    });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(flags.matchCount, 0);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "stitchingImageOffset ptr is null"), lines.end());
}

TEST(Stitch, IdenticalFramesGiveNoShiftAndAreNotMerged) {
    Session session({rows, cols});
    Frame first = frameAt(10, 10);
    const Frame same = first;
    const StitchOutputs out = session.start(first, same);
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(out.flags.offset.x, 0);
    EXPECT_EQ(out.flags.offset.y, 0);
    EXPECT_GT(out.flags.matchCount, 100) << "as many inliers as unique best matches";
    EXPECT_EQ(out.flags.frameX, 3000 - cols / 2);
}

TEST(Stitch, ZeroSamplesOfTheFirstFrameBecomeOneInTheCallersBuffer) {
    for (const std::int32_t channels : {1, 3}) {
        Session session({rows, cols, channels});
        const Picture source = test::makePicture(Texture::fine, 400, 500, channels, 3);
        Frame first = source.window(0, 0, rows, cols);
        Frame second = source.window(60, 0, rows, cols);
        for (std::size_t i = 0; i < first.size(); i += 1001) first[i] = second[i] = 0;
        const Frame before = first;
        const StitchOutputs out = session.start(first, second);
        for (std::size_t i = 0; i < first.size(); ++i) ASSERT_EQ(first[i], before[i] == 0 ? 1 : before[i]);
        EXPECT_EQ(second[0], 0) << "the current frame is only read";
        EXPECT_EQ(out.mosaic.ptr(out.minCorner.y)[std::ptrdiff_t{out.minCorner.x} * channels], 1);
    }
}

TEST(Stitch, TheFirstFrameLiesAtTheCentreOfItsCanvas) {
    Session session({rows, cols});
    Frame first = frameAt(0, 0);
    const Frame stranger = test::makePicture(Texture::fine, rows, cols, 1, 99).pixels;
    const StitchOutputs out = session.start(first, stranger);
    EXPECT_EQ(out.result, -1);
    EXPECT_EQ(out.mosaic.rows, 6000);
    EXPECT_EQ(out.mosaic.cols, 6000);
    EXPECT_EQ(out.mosaic.type(), CV_8UC1);
    EXPECT_EQ(out.minCorner.x, 3000 - cols / 2);
    EXPECT_EQ(out.minCorner.y, 3000 - rows / 2);
    EXPECT_EQ(out.maxCorner.x, 3000 + cols / 2);
    EXPECT_EQ(out.maxCorner.y, 3000 + rows / 2);
    const cv::Mat place = out.mosaic(cv::Rect(out.minCorner.x, out.minCorner.y, cols, rows)).clone();
    EXPECT_TRUE(std::equal(first.begin(), first.end(), place.data));
}

TEST(Stitch, AShiftOfATenthOrLessIsSkippedAndTheTemplateStays) {
    Session session({rows, cols});
    StitchOutputs before = startAt(session, 0, 0);
    for (const std::int32_t step : {10, 20, 32}) {
        const StitchOutputs out = session.next(frameAt(60 + step, 0));
        EXPECT_EQ(out.result, 0);
        EXPECT_EQ(out.flags.offset.x, step) << "measured against the same template each time";
        EXPECT_FALSE(merged(before, out));
    }
    const StitchOutputs out = session.next(frameAt(60 + 34, 0));
    EXPECT_EQ(out.flags.offset.x, 34);
    EXPECT_TRUE(merged(before, out)) << "34 is more than a tenth of 320";
}

TEST(Stitch, TheRowsDecideWhenTheShiftIsVertical) {
    Session session({rows, cols});
    const StitchOutputs before = startAt(session, 0, 0);
    EXPECT_FALSE(merged(before, session.next(frameAt(60, 24))));
    EXPECT_TRUE(merged(before, session.next(frameAt(60, 26))));
}

TEST(Stitch, AFrameThatCannotBeRegisteredLeavesEverythingAsItWas) {
    Session session({rows, cols});
    const StitchOutputs before = startAt(session, 0, 0);
    const std::uint64_t hash = test::hashOf(before.mosaic);
    for (const Frame& bad :
         {Frame(std::size_t{rows} * cols, 128), test::makePicture(Texture::grid, rows, cols, 1, 5).pixels,
          test::randomBytes(std::int64_t{rows} * cols, 3)}) {
        const StitchOutputs out = session.next(bad);
        EXPECT_EQ(out.result, -1);
        EXPECT_FALSE(merged(before, out));
        EXPECT_EQ(test::hashOf(out.mosaic), hash);
    }
    const StitchOutputs after = session.next(frameAt(140, 20));
    EXPECT_EQ(after.result, 0);
    EXPECT_EQ(after.flags.offset.x, 80);
    EXPECT_EQ(after.flags.offset.y, 20);
}

TEST(Stitch, AfterAStartThatPlacedNothingTheCallerMustStartAgain) {
    Session session({rows, cols});
    startAt(session, 0, 0);
    Frame first = frameAt(400, 400);
    const Frame stranger = test::makePicture(Texture::fine, rows, cols, 1, 99).pixels;
    EXPECT_EQ(session.start(first, stranger).result, -1);
    EXPECT_EQ(session.next(frameAt(60, 0)).result, -1) << "the old mosaic's frames have no place here";
    EXPECT_EQ(session.next(frameAt(460, 400)).result, -1) << "nor has anything else";
    EXPECT_EQ(session.start(first, frameAt(460, 400)).result, 0);
}

TEST(Stitch, AFirstCallWhoseFrameFailsItsTestHasNoTemplateEither) {
    Session session({rows, cols, 1, 0, 1});
    Frame first = frameAt(0, 0);
    Frame dark = frameAt(60, 0);
    test::changeBrightness(dark, -45);
    const StitchOutputs out = session.start(first, dark);
    EXPECT_EQ(out.result, 0) << "registered, but unsuitable";
    EXPECT_EQ(out.flags.stitch_flags, 0);
    EXPECT_EQ(session.next(frameAt(60, 0)).result, -1);
}

TEST(Stitch, AContinuingCallWithoutAMosaicFails) {
    Session session({rows, cols});
    EXPECT_EQ(session.next(frameAt(0, 0)).result, -1);
    startAt(session, 0, 0);
}

TEST(Stitch, ANewMosaicLeavesTheOldCanvasToItsHolder) {
    Session session({rows, cols});
    const StitchOutputs old = startAt(session, 0, 0);
    const std::uint64_t hash = test::hashOf(old.mosaic);
    const StitchOutputs fresh = startAt(session, 500, 300);
    EXPECT_NE(fresh.mosaic.data, old.mosaic.data);
    EXPECT_EQ(test::hashOf(old.mosaic), hash);
    session.close();
    EXPECT_EQ(test::hashOf(old.mosaic), hash) << "nor does the end touch it";
}

// --- the brightness test (main mode 0) ---

StitchOutputs startWithBrightness(std::int32_t staticFlag, std::int32_t change) {
    Session session({rows, cols, 1, 0, staticFlag});
    Frame first = frameAt(0, 0);
    Frame second = frameAt(80, 0);
    test::changeBrightness(second, change);
    return session.start(first, second);
}

TEST(BrightnessTest, StrictTolerancesRefuseALargeChangeWideOnesDoNot) {
    for (const std::int32_t change : {-20, 0, 20})
        EXPECT_EQ(startWithBrightness(1, change).flags.stitch_flags, 1);
    for (const std::int32_t change : {-45, 45}) {
        EXPECT_EQ(startWithBrightness(1, change).flags.stitch_flags, 0);
        EXPECT_EQ(startWithBrightness(0, change).flags.stitch_flags, 1);
    }
}

TEST(BrightnessTest, MeasuresTheOverlapOnCanvasAndFrame) {
    Session session({rows, cols, 1, 0, 0});
    Frame first = frameAt(0, 0);
    const Frame second = frameAt(80, 30);
    const StitchOutputs out = session.start(first, second);
    ASSERT_EQ(out.flags.offset.x, 80);
    ASSERT_EQ(out.flags.offset.y, 30);
    // both parts show the same piece of the picture
    const std::int32_t height = rows - 30;
    const std::int32_t width = cols - 80;
    const Frame overlap = picture().window(80, 30, height, width);
    float sum = 0;
    float bright = 0;
    int count = 0;
    int brightCount = 0;
    for (std::int32_t r = 0; r < height; ++r)
        for (std::int32_t c = 0; c < width; ++c) {
            const std::uint8_t sample = overlap[static_cast<std::size_t>(r) * width + c];
            if (r >= 2 && c >= 2 && r < height - 2 && c < width - 2 && r % 2 == 0 && c % 2 == 0) {
                sum += static_cast<float>(sample);
                ++count;
            }
            if (sample > 10) {
                bright += static_cast<float>(sample);
                ++brightCount;
            }
        }
    EXPECT_EQ(out.flags.prevMean, sum / static_cast<float>(count));
    EXPECT_EQ(out.flags.curMean, out.flags.prevMean);
    EXPECT_EQ(out.flags.prevBrightMean, bright / static_cast<float>(brightCount));
    EXPECT_EQ(out.flags.curBrightMean, out.flags.prevBrightMean);
}

TEST(BrightnessTest, OnceSetTheFlagStaysUntilTheNextInitialisation) {
    Session session({rows, cols, 1, 0, 1});
    StitchOutputs before = startAt(session, 0, 0);
    EXPECT_EQ(before.flags.stitch_flags, 1);
    Frame dark = frameAt(140, 0);
    test::changeBrightness(dark, -45);
    const StitchOutputs out = session.next(dark);
    EXPECT_GT(std::abs(out.flags.prevMean - out.flags.curMean), 40.0F);
    EXPECT_EQ(out.flags.stitch_flags, 1);
    EXPECT_TRUE(merged(before, out));
    Frame first = frameAt(0, 0);
    EXPECT_EQ(session.start(first, dark).flags.stitch_flags, 1) << "a new mosaic does not clear it";
    session.close();

    Session fresh({rows, cols, 1, 0, 1});
    Frame again = frameAt(80, 0);
    EXPECT_EQ(fresh.start(again, dark).flags.stitch_flags, 0);
}

// --- the motion test (main mode 1) ---

/// Frames of little contrast, so that the shift alone moves the measure by less than the strict threshold.
Frame flatFrameAt(std::int32_t x, std::int32_t y, std::int32_t brightness) {
    Frame frame = frameAt(x, y);
    for (std::uint8_t& sample : frame) sample = static_cast<std::uint8_t>(brightness + sample / 24);
    return frame;
}

std::int32_t mirror(std::int32_t i, std::int32_t length) {
    if (i < 0) return -i;
    return i >= length ? 2 * length - 2 - i : i;
}

Frame literalSmooth(const Frame& image) {
    Frame out = image;
    for (const bool vertical : {true, false}) {
        const Frame from = out;
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c) {
                float sum = 0.0F;
                for (std::int32_t t = -2; t <= 2; ++t) {
                    const std::int32_t at =
                        vertical ? mirror(r + t, rows) * cols + c : r * cols + mirror(c + t, cols);
                    sum = sum + smoothingKernel[t + 2] * static_cast<float>(from[at]);
                }
                out[r * cols + c] = static_cast<std::uint8_t>(sum);
            }
    }
    return out;
}

std::int64_t literalMotion(const Frame& a, const Frame& b) {
    const Frame x = literalSmooth(a);
    const Frame y = literalSmooth(b);
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) sum += std::abs(x[i] - y[i]);
    return sum / static_cast<std::int64_t>(x.size());
}

TEST(MotionTest, StrictFlagPassesOnlyFramesBelowFive) {
    const Frame first = flatFrameAt(0, 0, 100);
    bool sawFour = false;
    bool sawFive = false;
    for (std::int32_t brightness = 100; brightness <= 108; ++brightness) {
        const Frame second = flatFrameAt(80, 0, brightness);
        const std::int64_t motion = literalMotion(first, second);
        Session session({rows, cols, 1, 1, 1});
        Frame writable = first;
        const StitchOutputs out = session.start(writable, second);
        ASSERT_EQ(out.result, 0);
        EXPECT_EQ(out.flags.stitch_flags, motion < 5 ? 1 : 0) << "measure " << motion;
        sawFour = sawFour || motion == 4;
        sawFive = sawFive || motion == 5;
    }
    EXPECT_TRUE(sawFour && sawFive) << "the limit itself must be among the cases";
}

TEST(MotionTest, ComparesWithTheLastFrameSeenNotWithTheLastMergedOne) {
    Session session({rows, cols, 1, 1, 1});
    Frame first = flatFrameAt(0, 0, 100);
    ASSERT_EQ(session.start(first, flatFrameAt(80, 0, 100)).flags.stitch_flags, 1);
    const StitchOutputs jump = session.next(flatFrameAt(160, 0, 120));
    EXPECT_EQ(jump.flags.stitch_flags, 0) << "20 grey levels brighter than the frame before";
    const StitchOutputs same = session.next(flatFrameAt(160, 0, 120));
    EXPECT_EQ(same.flags.stitch_flags, 1) << "now the same brightness has been seen";
    EXPECT_TRUE(merged(jump, same));
}

TEST(MotionTest, AFrameThatCannotBeRegisteredIsNotTheLastSeen) {
    Session session({rows, cols, 1, 1, 1});
    Frame first = flatFrameAt(0, 0, 100);
    ASSERT_EQ(session.start(first, flatFrameAt(80, 0, 100)).flags.stitch_flags, 1);
    EXPECT_EQ(session.next(Frame(std::size_t{rows} * cols, 240)).result, -1);
    EXPECT_EQ(session.next(flatFrameAt(160, 0, 100)).flags.stitch_flags, 1);
}

TEST(MotionTest, TheWideThresholdLetsPracticallyEveryFramePass) {
    Session session({rows, cols, 1, 1, 0});
    Frame first = frameAt(0, 0);
    Frame second = frameAt(80, 0);
    test::changeBrightness(second, 90);
    EXPECT_EQ(session.start(first, second).flags.stitch_flags, 1);
}

TEST(MotionTest, LeavesTheBrightnessMeasuresAlone) {
    Session session({rows, cols, 1, 1, 0});
    const StitchOutputs out = startAt(session, 0, 0);
    EXPECT_EQ(out.flags.prevMean, 0.0F);
    EXPECT_EQ(out.flags.curBrightMean, 0.0F);
}

TEST(MotionTest, AStartInTheOtherModeStillLeavesItsFirstFrameToCompareWith) {
    Session session({rows, cols, 1, 0, 1});
    Frame first = flatFrameAt(0, 0, 100);
    ASSERT_EQ(session.start(first, flatFrameAt(80, 0, 100)).flags.stitch_flags, 1);
    // a second initialisation changes the mode only; template and canvas are kept
    ASSERT_TRUE(initJoint(rows, cols, 1, 1, 20000, 20000, 1, 1));
    EXPECT_EQ(session.next(flatFrameAt(160, 0, 100)).flags.stitch_flags, 1);
    EXPECT_EQ(session.next(flatFrameAt(160, 0, 130)).flags.stitch_flags, 0);
}

// --- scale and expected shift ---

TEST(Stitch, AReducedFrameFillsTheFrontOfTheBufferAndTheRestIsBlack) {
    Session session({rows, cols});
    session.setScale(2);
    Frame first = frameAt(0, 0);
    const StitchOutputs out = session.start(first, Frame(first.size(), 50));  // nothing is found in it
    const cv::Mat place = out.mosaic(cv::Rect(3000 - cols / 2, 3000 - rows / 2, cols, rows)).clone();
    const std::size_t reduced = std::size_t{rows / 2} * (cols / 2);
    for (std::size_t i = 0; i < place.total(); ++i) {
        const std::size_t r = i / (cols / 2);
        const std::size_t c = i % (cols / 2);
        ASSERT_EQ(place.data[i], i < reduced ? first[2 * r * cols + 2 * c] : 0);
    }
}

TEST(Stitch, AnExpectedShiftOfZeroStitchesLikeNone) {
    Session session({rows, cols});
    Frame first = frameAt(0, 0);
    const StitchOutputs plain = session.start(first, frameAt(80, 30));
    session.expect(0, 0);
    const StitchOutputs expected = session.start(first, frameAt(80, 30));
    EXPECT_EQ(expected.flags.matchCount, plain.flags.matchCount);
    EXPECT_EQ(expected.flags.offset.x, plain.flags.offset.x);
    EXPECT_EQ(test::hashOf(expected.mosaic), test::hashOf(plain.mosaic));
}

TEST(Stitch, AnExpectedShiftAsLargeAsTheFrameIsRefused) {
    Session session({rows, cols});
    startAt(session, 0, 0);
    session.expect(cols, 0);
    EXPECT_EQ(session.next(frameAt(140, 0)).result, -1);
    session.expect(0, -rows);
    EXPECT_EQ(session.next(frameAt(140, 0)).result, -1);
    session.expectNothing();
    EXPECT_EQ(session.next(frameAt(140, 0)).result, 0);
}

TEST(Stitch, ATooSmallCornerBudgetRegistersNothing) {
    for (const std::int32_t level : {-5, -8}) {
        Session session({rows, cols, 1, 1, 0, level});
        ASSERT_TRUE(session.ready());
        Frame first = frameAt(0, 0);
        EXPECT_EQ(session.start(first, frameAt(80, 0)).result, -1);
    }
}

TEST(Stitch, FramesTooSmallForCornersAreRefusedWithoutHarm) {
    for (const auto& [height, width] : {std::pair{1, 1}, std::pair{2, 2}, std::pair{3, 5}, std::pair{80, 80},
                                        std::pair{81, 300}, std::pair{1, 500}}) {
        Session session({height, width});
        ASSERT_TRUE(session.ready());
        Frame first = test::randomBytes(std::int64_t{height} * width, 1);
        const StitchOutputs out = session.start(first, first);
        EXPECT_EQ(out.result, -1) << height << " x " << width;
        EXPECT_EQ(out.maxCorner.x - out.minCorner.x, width);
    }
}

}  // namespace
}  // namespace brantel
