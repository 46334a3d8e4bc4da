// Brightness and blending through OpenCL of frames that differ where they overlap, against the reference.
#include <algorithm>
#include <tuple>

#include "gpu/composition.h"
#include "opencl/stream_machine.h"

namespace brantel::test {

namespace {

/// (channels, columns)
class OpenClComposition : public StreamMachine, public ::testing::WithParamInterface<std::tuple<int, int>> {
  protected:
    static std::int32_t channels() { return std::get<0>(GetParam()); }
    static std::int32_t width() { return std::get<1>(GetParam()); }
    const ImageDesc& size() { return engine().frame; }

    /// A frame of the picture, but lighter or darker than the picture is there, and noisy.
    Frame changedFrameAt(std::int32_t x, std::int32_t y, std::int32_t change) const {
        Frame frame = frameAt(x, y);
        changeBrightness(frame, change);
        addNoise(frame, 3, static_cast<std::uint64_t>(100 + x));
        return frame;
    }

    /// The canvas holds the blend of what was there and the frame, which is the template now.
    void expectMerged(const Frame& cut, const Frame& frame, const StitchOutputs& out) {
        const Frame placed = windowOf(out.mosaic, {out.flags.frameX, out.flags.frameY}, size());
        expectBlended(placed, cut, frame, size());
        EXPECT_TRUE(std::equal(placed.begin(), placed.end(), engine().templateFrame.data()));
    }
};

TEST_P(OpenClComposition, BlendsWhatDiffersByItsDistances) {
    openSize(rows, width(), channels());
    const Frame first = changedFrameAt(100, 60, 0);
    const Frame second = changedFrameAt(20, 100, 15);
    const StitchOutputs started = start(first, second).out;
    ASSERT_EQ(started.result, 0);
    ASSERT_EQ(engine().mosaic.templateState, TemplateState::placed);
    const Offset offset{started.flags.offset.x, started.flags.offset.y};
    expectMerged(cutOfFirst(first, size(), offset), second, started);

    const cv::Mat before = started.mosaic.clone();
    const Frame third = changedFrameAt(80, 10, -12);
    const StitchOutputs continued = next(third).out;
    ASSERT_EQ(continued.result, 0);
    ASSERT_EQ(continued.mosaic.size(), before.size());  // it has not grown
    const CornerPoint at{started.flags.frameX + continued.flags.offset.x,
                         started.flags.frameY + continued.flags.offset.y};
    ASSERT_EQ(continued.flags.frameX, at.x);
    ASSERT_EQ(continued.flags.frameY, at.y);
    expectMerged(windowOf(before, at, size()), third, continued);
}

TEST_P(OpenClComposition, MeasuresTheBrightnessOfWhatDiffersAndFiltersIt) {
    openSize(rows, width(), channels(), 0);
    const Frame first = changedFrameAt(100, 60, 0);
    const Frame second = changedFrameAt(20, 100, 15);
    const StitchFlags record = start(first, second).out.flags;
    ASSERT_LT(record.offset.x, 0);
    ASSERT_GT(record.offset.y, 0);
    const Cut before(first, size(), {record.offset.y, rows, 0, width() + record.offset.x});
    const Cut now(second, size(), {0, rows - record.offset.y, -record.offset.x, width()});
    expectBrightness(record, before, now);

    const auto kept = [](const OverlapCut& side) {
        return Frame{side.zeroSum.data(), side.zeroSum.data() + side.zeroSum.size()};
    };
    EXPECT_TRUE(kept(engine().overlapPrevious) == before.answer());
    EXPECT_TRUE(kept(engine().overlapCurrent) == now.answer());
    EXPECT_FALSE(before.answer() == now.answer());
    EXPECT_EQ(callsOf("range rgb2GaryTwoKernel"), channels() == 3 ? 1U : 0U);
    for (const char* kernel : {"opencvcopyFilter2DBorderRowUchar", "opencvcopyFilter2DBorderColUchar",
                               "opencvfilter2DCalcCharWin3Kernel", "opencvcopyFilter2DTakeOutBoundUchar"})
        EXPECT_EQ(callsOf(std::string("range ") + kernel), 2U) << kernel;
}

INSTANTIATE_TEST_SUITE_P(ChannelsAndWidths, OpenClComposition,
                         ::testing::Combine(::testing::Values(1, 3), ::testing::Values(300, 301)));

}  // namespace

}  // namespace brantel::test
