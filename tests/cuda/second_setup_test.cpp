// A second initialisation in the middle of a stream: what is kept is usable, what is not is gone.
#include <gtest/gtest.h>

#include <algorithm>

#include "api/process_log.h"
#include "cpu/state.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"
#include "support/stitch_on.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 322;
constexpr StitchModes byBrightness{0, 0};
constexpr StitchModes byMotion{1, 0};
constexpr StitchModes byMotionStrictly{1, 1};

class CudaSecondSetup : public testing::TestWithParam<std::int32_t> {
  protected:
    void SetUp() override { emulated_cuda::reset(); }
    void TearDown() override { EXPECT_EQ(emulated_cuda::violations(), Lines{}); }

    static void init(Engine& engine, const FrameSetup& setup, const StitchModes& modes) {
        captureOutput([&] { ASSERT_TRUE(engine.initJoint(setup, modes)); });
    }
    static FrameSetup setup() { return {rows, cols, GetParam(), 1, 20000, 20000}; }
    const Picture picture = makePicture(Texture::fine, 500, 700, GetParam(), 3);

    void begin(Engine& engine, const StitchModes& modes) {
        init(engine, setup(), modes);
        Frame first = picture.window(10, 10, rows, cols);
        ASSERT_EQ(stitchOn(engine, &first, picture.window(110, 100, rows, cols)).result, 0);
        ASSERT_NE(engine.mosaic.templateState, TemplateState::none);
    }

    CudaEngine cuda{processLogSink()};
    CpuEngine cpu{processLogSink()};
};

// No motion test has been made before: the frame last seen is the mosaic's first one, on both backends.
TEST_P(CudaSecondSetup, TheFirstMotionTestAfterBrightnessTestsHasAReference) {
    for (const CornerPoint at : {CornerPoint{10, 10}, CornerPoint{200, 180}}) {
        StitchOutputs outs[2];
        Engine* engines[] = {&cuda, &cpu};
        for (const int i : {0, 1}) {
            begin(*engines[i], byBrightness);
            init(*engines[i], setup(), byMotionStrictly);
            outs[i] = stitchOn(*engines[i], nullptr, picture.window(at.x, at.y, rows, cols));
        }
        EXPECT_EQ(outs[0].result, 0);
        EXPECT_EQ(outs[0].result, outs[1].result);
        EXPECT_EQ(outs[0].flags.stitch_flags, at.x == 10 ? 1 : 0)
            << "unchanged since the first frame, or not";
        EXPECT_EQ(outs[0].flags.stitch_flags, outs[1].flags.stitch_flags);
        EXPECT_EQ(outs[0].flags.offset.x, outs[1].flags.offset.x);
        EXPECT_EQ(outs[0].flags.offset.y, outs[1].flags.offset.y);
    }
}

TEST_P(CudaSecondSetup, ATemplateOfTheSameKindStays) {
    begin(cuda, byMotion);
    init(cuda, setup(), byBrightness);
    EXPECT_EQ(cuda.mosaic.templateState, TemplateState::unplaced);
    EXPECT_EQ(stitchOn(cuda, nullptr, picture.window(200, 180, rows, cols)).flags.offset.x, 90);
}

TEST_P(CudaSecondSetup, ATemplateOfAnotherKindIsGone) {
    const FrameSetup others[] = {{rows - 20, cols, GetParam(), 1, 20000, 20000},
                                 {rows, cols - 22, GetParam(), 1, 20000, 20000},
                                 {cols, rows, GetParam(), 1, 20000, 20000},
                                 {rows, cols, 4 - GetParam(), 1, 20000, 20000}};
    for (const FrameSetup& other : others) {
        // Room for either kind, since buffers are kept.
        init(cuda, {cols, cols, 3, 1, 20000, 20000}, byBrightness);
        begin(cuda, byBrightness);
        init(cuda, other, byBrightness);
        EXPECT_EQ(cuda.mosaic.templateState, TemplateState::none);
        const Picture frames = makePicture(Texture::fine, 500, 700, other.channels, 3);
        Lines lines;
        EXPECT_EQ(stitchOn(cuda, nullptr, frames.window(110, 100, other.rows, other.cols), &lines).result,
                  -1);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "HarrissCornerSPoint22222222222 size is 0"), 1)
            << "nothing is found in the black template";
        captureOutput([&] { cuda.uinitJoint(); });
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, CudaSecondSetup, testing::Values(1, 3));

}  // namespace
}  // namespace brantel::test
