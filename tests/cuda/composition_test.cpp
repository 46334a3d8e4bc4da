// Brightness and blending of frames that differ where they overlap, against the reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "gpu/composition.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"
#include "support/stitch_on.h"

namespace brantel::test {
namespace {

/// (channels, columns)
class CudaComposition : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
  protected:
    static constexpr std::int32_t rows = 241;

    void SetUp() override { emulated_cuda::reset(); }
    void TearDown() override { EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{}); }

    static std::int32_t channels() { return std::get<0>(GetParam()); }
    static std::int32_t width() { return std::get<1>(GetParam()); }
    const ImageDesc& size() const { return engine.frame; }

    /// The brightness test with its strict limits.
    void init(std::int32_t mainMode) {
        captureOutput([&] {
            ASSERT_TRUE(engine.initJoint({rows, width(), channels(), 1, 20000, 20000},
                                         {mainMode, mainMode == 0 ? 1 : 0}));
        });
    }
    /// A frame of the picture, but lighter or darker than the picture is there, and noisy. It has no zero sample.
    Frame changedFrameAt(std::int32_t x, std::int32_t y, std::int32_t change) const {
        Frame frame = picture.window(x, y, rows, width());
        changeBrightness(frame, change);
        addNoise(frame, 3, static_cast<std::uint64_t>(100 + x));
        for (std::uint8_t& sample : frame) sample = std::max<std::uint8_t>(sample, 1);
        return frame;
    }
    StitchOutputs stitch(Frame* first, const Frame& frame) { return stitchOn(engine, first, frame); }
    /// The canvas holds the blend of what was there and the frame, which is the template now, on the host and on the device.
    void expectMerged(const Frame& cut, const Frame& frame, const StitchOutputs& out) {
        const Frame placed = windowOf(out.mosaic, {out.flags.frameX, out.flags.frameY}, size());
        expectBlended(placed, cut, frame, size());
        EXPECT_TRUE(std::equal(placed.begin(), placed.end(), engine.templateFrame.data()));
        Frame onDevice(placed.size());
        toHost(onDevice.data(), engine.previousSide.frame, size().bytes());
        EXPECT_TRUE(onDevice == placed);
    }

    const Picture picture = makePicture(Texture::fine, 500, 700, channels(), 3);
    CudaEngine engine{processLogSink()};
};

TEST_P(CudaComposition, BlendsWhatDiffersByItsDistances) {
    init(1);
    Frame first = changedFrameAt(130, 60, 0);
    const Frame second = changedFrameAt(50, 100, 15);
    const StitchOutputs started = stitch(&first, second);
    ASSERT_EQ(started.result, 0);
    ASSERT_EQ(engine.mosaic.templateState, TemplateState::placed);
    expectMerged(cutOfFirst(first, size(), {started.flags.offset.x, started.flags.offset.y}), second,
                 started);

    StitchOutputs last = started;
    for (const CornerPoint at : {CornerPoint{110, 10}, {150, 60}, {200, 20}}) {
        const cv::Mat before = last.mosaic.clone();
        const Frame frame = changedFrameAt(at.x, at.y, at.x % 3 == 0 ? -12 : 14);
        const StitchOutputs out = stitch(nullptr, frame);
        ASSERT_EQ(out.result, 0);
        ASSERT_EQ(out.mosaic.size(), before.size());  // it has not grown
        const CornerPoint there{last.flags.frameX + out.flags.offset.x,
                                last.flags.frameY + out.flags.offset.y};
        ASSERT_EQ(out.flags.frameX, there.x);
        ASSERT_EQ(out.flags.frameY, there.y);
        expectMerged(windowOf(before, there, size()), frame, out);
        last = out;
    }
}

// What was made for the frames before is of another size.
TEST_P(CudaComposition, BlendsFramesOfAnotherSizeAfterASecondInitialisation) {
    init(1);
    for (const std::int32_t less : {0, 18, 30}) {
        captureOutput([&] {
            ASSERT_TRUE(engine.initJoint({rows - less, width() - less, channels(), 1, 20000, 20000}, {1, 0}));
        });
        Frame first = picture.window(130, 60, size().rows, size().cols);
        Frame second = picture.window(50, 100, size().rows, size().cols);
        changeBrightness(second, 15);
        for (Frame* frame : {&first, &second})
            for (std::uint8_t& sample : *frame) sample = std::max<std::uint8_t>(sample, 1);
        const StitchOutputs out = stitch(&first, second);
        ASSERT_EQ(out.result, 0);
        expectMerged(cutOfFirst(first, size(), {out.flags.offset.x, out.flags.offset.y}), second, out);
    }
}

TEST_P(CudaComposition, MeasuresTheBrightnessOfWhatDiffersAndFiltersIt) {
    // merged; passed over as too near; failing its test
    for (const auto& [at, change] :
         {std::pair<CornerPoint, std::int32_t>{{50, 100}, 15}, {{122, 66}, 15}, {{50, 100}, 60}}) {
        init(0);
        Frame first = changedFrameAt(130, 60, 0);
        const Frame second = changedFrameAt(at.x, at.y, change);
        const StitchFlags record = stitch(&first, second).flags;
        EXPECT_EQ(record.stitch_flags, change == 15 ? 1 : 0);
        ASSERT_LT(record.offset.x, 0);
        ASSERT_GT(record.offset.y, 0);
        const Cut before(first, size(), {record.offset.y, rows, 0, width() + record.offset.x});
        const Cut now(second, size(), {0, rows - record.offset.y, -record.offset.x, width()});
        expectBrightness(record, before, now);

        const auto answer = [](const OverlapSide& side, const Cut& cut) {
            const std::int64_t length = std::int64_t{cut.part.rows / 2} * (cut.part.cols / 2);
            return Frame{side.zeroSum.data(), side.zeroSum.data() + length};
        };
        EXPECT_TRUE(answer(engine.overlapPrevious, before) == before.answer());
        EXPECT_TRUE(answer(engine.overlapCurrent, now) == now.answer());
        EXPECT_FALSE(before.answer() == now.answer());
    }
}

INSTANTIATE_TEST_SUITE_P(ChannelsAndWidths, CudaComposition,
                         testing::Combine(testing::Values(1, 3), testing::Values(322, 321)));

}  // namespace
}  // namespace brantel::test
