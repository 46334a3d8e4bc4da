// Brightness and blending through OpenCL of frames that differ where they overlap, against the reference.
#include <algorithm>
#include <cstdlib>
#include <tuple>

#include "compose/bands.h"
#include "gpu/reference.h"
#include "gpu/zero_sum.h"
#include "opencl/stream_machine.h"
#include "reference/acceptance.h"
#include "reference/filters.h"
#include "reference/image_ops.h"
#include "reference/weights.h"
#include "support/test_log.h"

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

    Frame windowOf(const cv::Mat& canvas, CornerPoint at) {
        Frame window;
        for (std::int32_t y = 0; y < rows; ++y) {
            const std::uint8_t* row = canvas.ptr(at.y + y, at.x);
            window.insert(window.end(), row, row + std::int64_t{width()} * channels());
        }
        return window;
    }

    struct Blend {
        Frame byDevice;     // as the kernels are defined
        Frame byProcessor;  // as the processor blends
    };
    Blend referenceBlend(const Frame& cut, const Frame& frame) {
        const auto pixels = static_cast<std::size_t>(size().pixels());
        std::vector<float> cutMask(pixels);
        std::vector<float> frameMask(pixels);
        Frame weights(pixels);
        Blend blend{{}, frame};
        EXPECT_TRUE(reference::weightMask(toOutput(), cut.data(), frame.data(), rows, width(), channels(),
                                          cutMask.data(), frameMask.data(), weights.data()));
        reference::fuseImages(cut.data(), weights.data(), size().pixels(), channels(),
                              blend.byProcessor.data());
        // The masks have become the distances.
        blend.byDevice = gpu_test::fusedByDistances(cut, frame, cutMask, frameMask, channels());
        return blend;
    }

    /// The canvas holds the blend of what was there and the frame, which is the template now.
    void expectBlended(const Frame& cut, const Frame& frame, const StitchOutputs& out) {
        const Frame placed = windowOf(out.mosaic, {out.flags.frameX, out.flags.frameY});
        const Blend blend = referenceBlend(cut, frame);
        EXPECT_TRUE(placed == blend.byDevice);
        EXPECT_FALSE(placed == frame);
        EXPECT_TRUE(std::equal(placed.begin(), placed.end(), engine().templateFrame.data()));
        // The device's weights are quotients in double, and with one channel it divides by 255 where the
        // processor shifts by 8 bits: never more than a level.
        int largest = 0;
        for (std::size_t i = 0; i < placed.size(); ++i)
            largest = std::max(largest, std::abs(placed[i] - blend.byProcessor[i]));
        EXPECT_LE(largest, 1);
    }
};

/// What an empty canvas with the first frame on it holds where the second one comes to lie.
Frame cutOfFirst(const Frame& first, const ImageDesc& size, Offset offset) {
    Frame cut(first.size());
    for (std::int32_t y = 0; y < size.rows; ++y)
        for (std::int32_t x = 0; x < size.cols; ++x) {
            const std::int32_t fromRow = y + offset.y;
            const std::int32_t fromCol = x + offset.x;
            if (fromRow < 0 || fromRow >= size.rows || fromCol < 0 || fromCol >= size.cols) continue;
            const std::int64_t from = (std::int64_t{fromRow} * size.cols + fromCol) * size.channels;
            std::copy_n(first.begin() + from, size.channels,
                        cut.begin() + (std::int64_t{y} * size.cols + x) * size.channels);
        }
    return cut;
}

TEST_P(OpenClComposition, BlendsWhatDiffersByItsDistances) {
    openSize(rows, width(), channels());
    const Frame first = changedFrameAt(100, 60, 0);
    const Frame second = changedFrameAt(20, 100, 15);
    const StitchOutputs started = start(first, second).out;
    ASSERT_EQ(started.result, 0);
    ASSERT_EQ(engine().mosaic.templateState, TemplateState::placed);
    const Offset offset{started.flags.offset.x, started.flags.offset.y};
    expectBlended(cutOfFirst(first, size(), offset), second, started);

    const cv::Mat before = started.mosaic.clone();
    const Frame third = changedFrameAt(80, 10, -12);
    const StitchOutputs continued = next(third).out;
    ASSERT_EQ(continued.result, 0);
    ASSERT_EQ(continued.mosaic.size(), before.size());  // it has not grown
    const CornerPoint at{started.flags.frameX + continued.flags.offset.x,
                         started.flags.frameY + continued.flags.offset.y};
    ASSERT_EQ(continued.flags.frameX, at.x);
    ASSERT_EQ(continued.flags.frameY, at.y);
    expectBlended(windowOf(before, at), third, continued);
}

/// One cut of an overlap and its grey image.
struct Cut {
    ImageDesc part{};
    Frame grey;

    Cut(const Frame& frame, const ImageDesc& size, const Region& region)
        : part{0, size.channels, region.rowEnd - region.rowStart, region.colEnd - region.colStart} {
        Frame colour(static_cast<std::size_t>(part.bytes()));
        EXPECT_TRUE(cropImageRegion(toOutput(), frame.data(), region, size.rows, size.cols, size.channels,
                                    &part, colour.data()));
        grey = colour;
        grey.resize(static_cast<std::size_t>(part.pixels()));
        if (size.channels == 1) return;
        EXPECT_TRUE(reference::rgb2gray(toOutput(), colour.data(), part.rows, part.cols, grey.data()));
    }

    /// The zero-sum filter's answer to the smoothed cut.
    Frame answer() const {
        const auto padded = static_cast<std::size_t>((part.rows + 2) * (part.cols + 2));
        Frame a(padded), b(padded), smoothed(grey.size());
        reference::padReflect101(toOutput(), grey.data(), part.rows, part.cols, 1, a.data(), b.data());
        reference::smooth3x3(toOutput(), a.data(), part.rows + 2, part.cols + 2, b.data());
        reference::cropBorder(toOutput(), b.data(), part.rows + 2, part.cols + 2, 1, smoothed.data());
        Buffer<std::uint8_t> out;
        zeroSumImage(toOutput(), smoothed.data(), part.rows, part.cols, out);
        return {out.data(), out.data() + out.size()};
    }
};

TEST_P(OpenClComposition, MeasuresTheBrightnessOfWhatDiffersAndFiltersIt) {
    openSize(rows, width(), channels(), 0);
    const Frame first = changedFrameAt(100, 60, 0);
    const Frame second = changedFrameAt(20, 100, 15);
    const StitchFlags record = start(first, second).out.flags;
    ASSERT_LT(record.offset.x, 0);
    ASSERT_GT(record.offset.y, 0);
    const Cut before(first, size(), {record.offset.y, rows, 0, width() + record.offset.x});
    const Cut now(second, size(), {0, rows - record.offset.y, -record.offset.x, width()});
    EXPECT_EQ(record.prevMean, reference::meanGrey(before.grey.data(), before.part.rows, before.part.cols));
    EXPECT_EQ(record.curMean, reference::meanGrey(now.grey.data(), now.part.rows, now.part.cols));
    EXPECT_EQ(record.prevBrightMean, reference::meanOfBright(before.grey.data(), before.part.pixels()));
    EXPECT_EQ(record.curBrightMean, reference::meanOfBright(now.grey.data(), now.part.pixels()));
    EXPECT_NE(record.prevMean, record.curMean);

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
