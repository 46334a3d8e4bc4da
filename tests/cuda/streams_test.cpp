// Whole streams through the three exports with CUDA active, beside the processor's.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "support/camera_path.h"
#include "support/output_capture.h"
#include "support/stitch_on.h"

namespace brantel::test {
namespace {

/// One stream on one backend.
struct Outcome {
    FollowReport report;
    cv::Mat mosaic;
    std::size_t launches = 0;
    std::vector<std::string> violations;
};

Outcome stitch(SessionOptions options, bool onCuda, const Picture& picture, const Path& path,
               const Disturb& disturb = nullptr) {
    emulated_cuda::reset();
    Outcome outcome;
    options.channels = picture.channels;
    options.forceCpu = !onCuda;
    captureOutput([&] {
        Session session(options);
        ASSERT_TRUE(session.ready());
        outcome.report = follow(session, picture, path, options.rows, options.cols, disturb);
        outcome.mosaic = outcome.report.last.mosaic.clone();
        outcome.launches = emulated_cuda::launches().size();
        outcome.violations = emulated_cuda::violations();
    });
    EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
    return outcome;
}

int largestDifference(const cv::Mat& a, const cv::Mat& b) {
    if (a.size() != b.size() || a.type() != b.type()) return 256;
    int largest = 0;
    const std::size_t count = a.total() * a.elemSize();
    for (std::size_t i = 0; i < count; ++i) largest = std::max(largest, std::abs(a.data[i] - b.data[i]));
    return largest;
}

void expectSamePlacement(const FollowReport& a, const FollowReport& b) {
    EXPECT_EQ(a.placedFrames, b.placedFrames);
    EXPECT_EQ(a.last.minCorner.x, b.last.minCorner.x);
    EXPECT_EQ(a.last.minCorner.y, b.last.minCorner.y);
    EXPECT_EQ(a.last.maxCorner.x, b.last.maxCorner.x);
    EXPECT_EQ(a.last.maxCorner.y, b.last.maxCorner.y);
    EXPECT_EQ(a.last.flags.offset.x, b.last.flags.offset.x);
    EXPECT_EQ(a.last.flags.offset.y, b.last.flags.offset.y);
    EXPECT_EQ(a.last.flags.frameX, b.last.flags.frameX);
    EXPECT_EQ(a.last.flags.frameY, b.last.flags.frameY);
    EXPECT_EQ(a.last.flags.stitch_flags, b.last.flags.stitch_flags);
}

/// (main mode, channels)
class CudaStream : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
  protected:
    static SessionOptions options(std::int32_t rows, std::int32_t cols) {
        SessionOptions all{rows, cols};
        all.mainMode = std::get<0>(GetParam());
        return all;
    }
    static std::int32_t channels() { return std::get<1>(GetParam()); }
    static void initialise(CudaEngine& engine, std::int32_t rows, std::int32_t cols) {
        captureOutput([&] {
            ASSERT_TRUE(
                engine.initJoint({rows, cols, channels(), 1, 20000, 20000}, {std::get<0>(GetParam()), 0}));
        });
    }
};

// Where the two may differ. Corners: the device smooths in double, the processor in single precision, so
// single corners differ, on these pictures never the offset they agree on. Pixels: the device computes
// weights in double, which changes a pixel by at most one level; with one channel it divides by 255 where the
// processor shifts by 8 bits and so darkens by up to a level with every blend.
int allowedDifference(const FollowReport& report, std::int32_t channels) {
    return channels == 3 ? 1 : report.placed - 1;
}

TEST_P(CudaStream, FollowsTheCameraAndAgreesWithTheProcessor) {
    const Picture picture = makePicture(Texture::fine, 700, 1000, channels(), 8);
    const Path path = serpentinePath({10, 10}, 130, 110, 4, 2);
    const Outcome cuda = stitch(options(240, 322), true, picture, path);
    const Outcome cpu = stitch(options(240, 322), false, picture, path);
    EXPECT_EQ(cuda.violations, std::vector<std::string>{});
    EXPECT_GT(cuda.launches, 0U);
    EXPECT_EQ(cpu.launches, 0U);
    EXPECT_EQ(cuda.report.placed, static_cast<int>(path.size())) << cuda.report.summary();
    EXPECT_EQ(cuda.report.wrong, 0) << cuda.report.summary();
    expectSamePlacement(cuda.report, cpu.report);
    EXPECT_LE(largestDifference(cuda.mosaic, cpu.mosaic), allowedDifference(cuda.report, channels()));
}

// Frames that shift less than a tenth are passed over; the template stays the frame whose place is known.
TEST_P(CudaStream, ASlowCameraIsPlacedInStrides) {
    const Picture picture = makePicture(Texture::fine, 420, 900, channels(), 3);
    const Path path = straightPath({10, 40}, 14, 6, 24);
    const Outcome cuda = stitch(options(240, 322), true, picture, path);
    const Outcome cpu = stitch(options(240, 322), false, picture, path);
    EXPECT_EQ(cuda.report.wrong, 0) << cuda.report.summary();
    EXPECT_EQ(cuda.report.refused, cpu.report.refused);
    EXPECT_GE(cuda.report.placed, 7) << cuda.report.summary();
    EXPECT_GE(cuda.report.skipped, 10) << cuda.report.summary();
    expectSamePlacement(cuda.report, cpu.report);
    EXPECT_LE(largestDifference(cuda.mosaic, cpu.mosaic), allowedDifference(cuda.report, channels()));
}

struct Side {
    const char* name;
    CornerPoint position;  // of the last frame, near an edge of the canvas
    Spot step;             // of the camera, over that edge
    CornerPoint at;        // where the new frame must lie on the grown canvas
    std::int32_t rows;
    std::int32_t cols;
};

TEST_P(CudaStream, GrowsTheCanvasOnEverySide) {
    constexpr std::int32_t rows = 240, cols = 322, canvas = 6000;
    const Side sides[] = {
        {"left", {30, 3000}, {-100, 0}, {30 - 100 + cols, 3000}, canvas, canvas + cols},
        {"top", {3000, 20}, {0, -90}, {3000, 20 - 90 + rows}, canvas + rows, canvas},
        {"right", {canvas - cols - 9, 3000}, {100, 0}, {canvas - cols + 91, 3000}, canvas, canvas + cols},
        {"bottom", {3000, canvas - rows - 9}, {0, 90}, {3000, canvas - rows + 81}, canvas + rows, canvas},
    };
    const Picture picture = makePicture(Texture::fine, 700, 900, channels(), 3);
    for (const Side& side : sides) {
        emulated_cuda::reset();
        const Spot last{300, 250};
        const Frame frame = picture.window(last.x + side.step.x, last.y + side.step.y, rows, cols);
        CudaEngine engine(processLogSink());
        initialise(engine, rows, cols);
        Frame first = picture.window(last.x - 100, last.y - 60, rows, cols);
        stitchOn(engine, &first, picture.window(last.x, last.y, rows, cols));
        engine.mosaic.record.frameX = side.position.x;
        engine.mosaic.record.frameY = side.position.y;
        const StitchOutputs out = stitchOn(engine, nullptr, frame);
        EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{}) << side.name;
        EXPECT_EQ(out.mosaic.rows, side.rows) << side.name;
        EXPECT_EQ(out.mosaic.cols, side.cols) << side.name;
        EXPECT_EQ(out.flags.frameX, side.at.x) << side.name;
        EXPECT_EQ(out.flags.frameY, side.at.y) << side.name;
        // Nothing was there before, so the new frame is there unchanged.
        bool same = true;
        const std::size_t stride = static_cast<std::size_t>(cols) * static_cast<std::size_t>(channels());
        for (std::int32_t r = 0; r < rows; ++r)
            same = same && std::equal(frame.data() + r * stride, frame.data() + (r + 1) * stride,
                                      out.mosaic.ptr(side.at.y + r) + side.at.x * channels());
        EXPECT_TRUE(same) << side.name;
    }
    EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
}

// Each has its own threads, buffers and canvas.
TEST_P(CudaStream, MosaicsSideBySideAreTheirOwn) {
    constexpr std::int32_t rows = 240, cols = 322;
    const Picture picture = makePicture(Texture::fine, 700, 900, channels(), 3);
    const auto shot = [&](std::int32_t i, std::int32_t step) {
        return picture.window(10 + 80 * i, 10 + step * i, rows, cols);
    };
    const auto follow = [&](const std::vector<std::pair<CudaEngine*, std::int32_t>>& cameras) {
        std::vector<cv::Mat> mosaics;
        for (std::int32_t i = 1; i < 4; ++i)
            for (const auto& [engine, step] : cameras) {
                Frame first = shot(0, step);
                const StitchOutputs out = stitchOn(*engine, i == 1 ? &first : nullptr, shot(i, step));
                EXPECT_EQ(out.result, 0);
                if (i == 3) mosaics.push_back(out.mosaic.clone());
            }
        return mosaics;
    };
    emulated_cuda::reset();
    CudaEngine one(processLogSink()), other(processLogSink()), alone(processLogSink());
    for (CudaEngine* engine : {&one, &other, &alone}) initialise(*engine, rows, cols);
    const std::vector<cv::Mat> together = follow({{&one, 60}, {&other, 90}});
    for (const std::size_t i : {0U, 1U})
        EXPECT_EQ(largestDifference(follow({{&alone, i == 0 ? 60 : 90}})[0], together[i]), 0);
    EXPECT_EQ(largestDifference(together[0], together[1]) > 0, true);
    EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{});
}

TEST_P(CudaStream, ZeroSamplesArePlacedAsOnes) {
    Picture picture = makePicture(Texture::fine, 500, 700, channels(), 3);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 7) picture.pixels[i] = 0;
    const Outcome cuda = stitch(options(240, 322), true, picture, straightPath({10, 10}, 120, 100, 2));
    EXPECT_EQ(cuda.report.placed, 3) << cuda.report.summary();
    const StitchOutputs& last = cuda.report.last;
    const cv::Mat lastFrame = cuda.mosaic(cv::Rect(last.flags.frameX, last.flags.frameY, 322, 240));
    bool holes = false;
    for (std::int32_t r = 0; r < lastFrame.rows; ++r)
        holes = holes || std::count(lastFrame.ptr(r), lastFrame.ptr(r) + 322 * channels(), 0) > 0;
    EXPECT_FALSE(holes);
}

// What a row range holds is mostly left over from before, deliberately: such a call may be refused, no more.
TEST_P(CudaStream, ExpectedShiftsAreSafeAndTheStreamGoesOnWithoutThem) {
    emulated_cuda::reset();
    const Picture picture = makePicture(Texture::fine, 700, 900, channels(), 3);
    SessionOptions setup = options(240, 322);
    setup.channels = channels();
    setup.forceCpu = false;
    captureOutput([&] {
        Session session(setup);
        Frame first = picture.window(10, 10, 240, 322);
        ASSERT_EQ(session.start(first, picture.window(90, 80, 240, 322)).result, 0);
        for (const Spot shift : {Spot{80, 70}, Spot{-80, 70}, Spot{80, -70}, Spot{-80, -70}, Spot{0, 0},
                                 Spot{322, 0}, Spot{0, -240}, Spot{100000, -100000}}) {
            session.expect(shift.x, shift.y);
            const std::int32_t result = session.next(picture.window(170, 150, 240, 322)).result;
            EXPECT_TRUE(result == 0 || result == -1);
        }
        session.expectNothing();
        EXPECT_EQ(session.next(picture.window(170, 150, 240, 322)).result, 0);
    });
    EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{});
}

/// The launches that place the second frame of a stream.
TEST_P(CudaStream, LaunchesCoverTheirImages) {
    constexpr std::int32_t rows = 251, cols = 334;
    const auto over = [](const char* kernel, std::int32_t h, std::int32_t w) {
        return emulated_cuda::Launch{kernel, static_cast<unsigned>((w + 31) / 32),
                                     static_cast<unsigned>((h + 31) / 32), 32, 32};
    };
    const bool colour = channels() == 3;
    std::vector<emulated_cuda::Launch> expected{
        over(colour ? "pretJudgeImageCh3Kernel" : "pretJudgeImageCh1Kernel", rows, cols),
        // given (rows, columns) where it takes (columns, rows)
        colour ? over("rgb2GaryFloatTwoCh3Kernel", rows, cols)
               : over("rgb2GaryFloatTwoCh1Kernel", cols, rows),
        over("getWeightImageKernel", rows, cols),
        over(colour ? "getFusionImageKernelCh3" : "getFusionImageKernelCh1", rows, cols)};
    if (std::get<0>(GetParam()) != 0)
        expected.insert(expected.end(),
                        {over("opencvcopyFilter2DBorderRowUhcarMode", rows + 4, cols),
                         {"opencvcopyFilter2DBorderColUcharMode", 1, (rows + 4 + 31) / 32, 2, 32},
                         over("opencvFilter2DRowCalcUcharWin5Mode", rows, cols + 4),
                         over("opencvFilter2DColCalcUcharWin5Mode", rows + 4, cols),
                         over("opencvcopyFilter2DTakeOutBoundUchar", rows, cols),
                         over("absCalcKernel", rows, cols)});
    emulated_cuda::reset();
    const Picture picture = makePicture(Texture::fine, 500, 700, channels(), 3);
    SessionOptions setup = options(rows, cols);
    setup.channels = channels();
    setup.forceCpu = false;
    captureOutput([&] {
        Session session(setup);
        Frame first = picture.window(10, 10, rows, cols);
        EXPECT_EQ(session.start(first, picture.window(110, 100, rows, cols)).result, 0);
    });
    const auto launched = emulated_cuda::launches();
    for (const auto& launch : expected)
        EXPECT_EQ(std::count(launched.begin(), launched.end(), launch) > 0, true) << launch;
}

INSTANTIATE_TEST_SUITE_P(ModesAndChannels, CudaStream,
                         testing::Combine(testing::Values(0, 1), testing::Values(1, 3)));

}  // namespace
}  // namespace brantel::test
