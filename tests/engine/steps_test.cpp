// The order of one frame's steps, when a frame is merged, and the answer to the caller: on an engine whose steps do what they
// are told.
#include <gtest/gtest.h>

#include <functional>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "engine/engine.h"
#include "engine/mosaic_backup.h"
#include "engine/shift_limits.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

/// The shift that a frame would be merged at, or -1.
std::int32_t shiftOf(std::int32_t x, std::int32_t y, std::int32_t rows, std::int32_t cols) {
    const FrameShift shift = frameShift({x, y}, rows, cols);
    return shift.size == ShiftSize::fits ? shift.length : -1;
}

TEST(MergeableShift, AnExactTenthIsTooLittle) {
    for (const std::int32_t side : {100, 480, 1000, 2050, 5000}) {
        const std::int32_t tenth = side / 10;
        EXPECT_EQ(shiftOf(tenth, 0, 50, side), -1) << side;
        EXPECT_EQ(shiftOf(0, -tenth, side, 50), -1) << side;
        EXPECT_EQ(shiftOf(tenth + 1, 0, 50, side), tenth + 1) << side;
        EXPECT_EQ(shiftOf(-(tenth + 1), 0, 50, side), tenth + 1) << side;
    }
    EXPECT_EQ(shiftOf(205, 0, 50, 2048), 205) << "204.8 is a tenth";
    EXPECT_EQ(frameShift({10, 0}, 50, 100).size, ShiftSize::tooSmall);
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
    EXPECT_EQ(frameShift({900, 0}, 50, 1000).size, ShiftSize::tooLarge);
}

TEST(MergeableShift, TheLargerComponentIsMeasuredAgainstItsOwnSide) {
    EXPECT_EQ(shiftOf(150, 149, 10000, 1000), 150) << "columns decide";
    EXPECT_EQ(shiftOf(149, 150, 1000, 10000), 150) << "rows decide";
    EXPECT_EQ(shiftOf(150, 150, 10000, 1000), -1) << "a tie is measured against the rows";
    EXPECT_EQ(shiftOf(150, -150, 1000, 10000), 150);
}

Mosaic startedMosaic(const ImageDesc& size) {
    Mosaic mosaic;
    EXPECT_TRUE(startMosaic(toOutput(), mosaic, randomBytes(size.bytes(), 1).data(), size));
    return mosaic;
}

TEST(MosaicBackup, PutsEverythingBackUnlessTheChangesAreKept) {
    Mosaic mosaic = startedMosaic({0, 1, 40, 60});
    const Mosaic before = mosaic;
    {
        const MosaicBackup backup(mosaic);
        mosaic = startedMosaic({0, 3, 50, 70});
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

TEST(MosaicBackup, ForgetsTheTemplatesFeatures) {
    Mosaic mosaic = startedMosaic({0, 1, 40, 60});
    mosaic.templateState = TemplateState::described;
    { const MosaicBackup backup(mosaic); }
    EXPECT_EQ(mosaic.templateState, TemplateState::placed);
}

/// Each step succeeds and is noted; one may do something else.
class ScriptedEngine final : public Engine {
  public:
    explicit ScriptedEngine(LogSink& sink) : Engine(sink) {
        ready = true;
        frame = {0, 1, 480, 640};
        limitA = limitB = 20000;
        mosaic = startedMosaic(frame);
        mosaic.record.stitch_flags = 1;
        mosaic.record.offset = {-300, 0};
        mosaic.record.matchCount = 30;
    }

    bool initJoint(const FrameSetup&, const StitchModes&) override { return true; }
    bool uinitJoint() override { return true; }
    bool buffersHoldFrame() override { return step("buffers"); }
    bool takeFrames(const StitchCall&) override { return step("take"); }
    bool imageMosaicFun() override { return step("register"); }
    bool judge() override { return step("judge"); }
    bool measureMotion(std::int64_t*) override { return step("motion"); }
    bool measureBrightness() override { return step("brightness"); }
    bool stitchingImageImageblend() override { return step("blend"); }
    void keepTemplate() override { step("keep template"); }
    void keepAsLastSeen() override { step("last seen"); }

    /// A continuing call.
    std::int32_t call() {
        std::uint8_t pixel = 1;
        StitchCall call{};
        call.currentFrame = &pixel;
        call.continueFlag = 1;
        return stichingImagedJoint(call);
    }
    void breakDown() { breakOff(); }

    std::string special;  // the step that does this
    std::function<bool()> instead;
    std::string done;  // the steps, in their order

  private:
    bool step(const std::string& name) {
        done += (done.empty() ? "" : ", ") + name;
        return name != special || instead();
    }
};

class Steps : public testing::Test {
  protected:
    RecordingSink sink;
    ScriptedEngine engine{sink};
};

TEST_F(Steps, OfAMergedFrame) {
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge, blend");
    EXPECT_EQ(sink.text(), "kkkkkkkkkkkkkkkkkkkkkkk300\n");
}

TEST_F(Steps, InMotionModeEndWithTheLastFrameSeen) {
    engine.modes.GStitchMainMode = 1;
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge, blend, last seen");
}

TEST_F(Steps, OfATooSmallShiftOrWithTooFewMatchesKeepATemplate) {
    engine.mosaic.record.offset = {20, 0};
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge, keep template");
    engine.done.clear();
    engine.mosaic.record.offset = {300, 0};
    engine.mosaic.record.matchCount = 10;
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge, keep template");
    engine.done.clear();
    engine.mosaic.record.matchCount = 11;
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge, blend");
    EXPECT_EQ(sink.text(), "kkkkkkkkkkkkkkkkkkkkkkk300\n");
}

TEST_F(Steps, OfAFrameThatFailedItsTestChangeNothing) {
    engine.mosaic.record.stitch_flags = 0;
    EXPECT_EQ(engine.call(), 0);
    EXPECT_EQ(engine.done, "buffers, take, register, judge");
    EXPECT_EQ(sink.text(), "");
}

TEST_F(Steps, EndWithTheFirstThatFails) {
    engine.instead = [] { return false; };
    for (const char* all : {"buffers", "buffers, take", "buffers, take, register",
                            "buffers, take, register, judge", "buffers, take, register, judge, blend"}) {
        engine.done.clear();
        engine.special = std::string(all).substr(std::string(all).rfind(' ') + 1);
        EXPECT_EQ(engine.call(), -1);
        EXPECT_EQ(engine.done, all);
    }
    EXPECT_EQ(sink.text(), "ptr is null\n") << "of the buffers";
}

TEST_F(Steps, NeedACanvasOfTheFramesChannels) {
    engine.frame.channels = 3;
    EXPECT_EQ(engine.call(), -1);
    EXPECT_EQ(engine.done, "buffers, take, register");
    engine.done.clear();
    engine.frame.channels = 1;
    engine.mosaic.canvas.release();
    EXPECT_EQ(engine.call(), -1);
    EXPECT_EQ(engine.done, "buffers, take, register");
}

TEST_F(Steps, ThatThrowOrBreakDownPutTheMosaicBack) {
    for (const bool throws : {true, false}) {
        engine.special = "register";
        engine.instead = [&]() -> bool {
            engine.mosaic.record.matchCount = 99;
            engine.mosaic.canvas.release();
            if (throws) throw std::runtime_error("out of luck");
            engine.breakDown();
            return false;
        };
        EXPECT_EQ(engine.call(), -1);
        EXPECT_EQ(engine.mosaic.record.matchCount, 30);
        EXPECT_EQ(engine.mosaic.canvas.rows, 6000);
    }
    EXPECT_EQ(sink.text(), "stichingImagedJoint failed: out of luck\n");
}

TEST_F(Steps, ThatFailOfThemselvesLeaveWhatTheyDid) {
    engine.special = "register";
    engine.instead = [&] {
        engine.mosaic.record.matchCount = 9;
        return false;
    };
    EXPECT_EQ(engine.call(), -1);
    EXPECT_EQ(engine.mosaic.record.matchCount, 9);
}

TEST_F(Steps, WriteTheOutputsOnEveryResult) {
    std::uint8_t pixel = 1;
    for (const int result : {0, 1, 2}) {
        engine.special = result == 0 ? "" : "take";
        engine.instead = [&]() -> bool {
            if (result == 2) throw std::runtime_error("out of luck");
            return false;
        };
        MosaicCorner minimum{-1, -1};
        MosaicCorner maximum{-1, -1};
        cv::Mat canvas;
        StitchFlags flags{};
        EXPECT_EQ(
            engine.stichingImagedJoint({nullptr, &pixel, 1, 1, {}, &minimum, &maximum, &canvas, &flags}),
            result == 0 ? 0 : -1);
        EXPECT_EQ((CornerPoint{minimum.x, minimum.y}), engine.mosaic.minimum);
        EXPECT_EQ((CornerPoint{maximum.x, maximum.y}), engine.mosaic.maximum);
        EXPECT_EQ(canvas.data, engine.mosaic.canvas.data) << "a shared header";
        EXPECT_EQ(flags.matchCount, 30);
        EXPECT_EQ(flags.frameX, engine.mosaic.record.frameX);
    }
}

class AreaResult : public Steps {
  protected:
    std::int32_t of(const cv::Mat& canvas, std::int32_t limitA, std::int32_t limitB) {
        engine.mosaic.canvas = canvas;
        engine.limitA = limitA;
        engine.limitB = limitB;
        return engine.call();
    }
};

TEST_F(AreaResult, TurnsToOneWhenTheAreaReachesTheLimit) {
    const cv::Mat canvas(100, 200, CV_8UC1);
    EXPECT_EQ(of(canvas, 100, 201), 0);
    EXPECT_EQ(of(canvas, 100, 200), 1);
    EXPECT_EQ(of(canvas, 1, 1), 1);
    EXPECT_EQ(of(canvas, -1, 1), 1) << "a negative limit is always reached";
}

TEST_F(AreaResult, BothProductsAreSigned32BitAndWrap) {
    const cv::Mat canvas(100, 200, CV_8UC1);
    EXPECT_EQ(of(canvas, 65536, 65536), 1) << "2^32 wraps to 0";
    EXPECT_EQ(of(canvas, 65536, 32768), 1) << "2^31 wraps to the smallest number";
    EXPECT_EQ(of(canvas, 46341, 46341), 1) << "wraps to a negative number";
    EXPECT_EQ(of(canvas, 46340, 46340), 0);
    // headers of many rows over one: only their numbers are read
    std::vector<std::uint8_t> row(50000);
    EXPECT_EQ(of(cv::Mat(50000, 50000, CV_8UC1, row.data(), 50000), 1, 1), 0)
        << "2,500,000,000 wraps to a negative number";
    EXPECT_EQ(of(cv::Mat(20000, 20000, CV_8UC1, row.data(), 20000), 20000, 20000), 1)
        << "400,000,000 pixels are enough";
    EXPECT_EQ(of(cv::Mat(19999, 20000, CV_8UC1, row.data(), 20000), 20000, 20000), 0);
}

}  // namespace
}  // namespace brantel::test
