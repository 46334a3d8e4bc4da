// The features of a template are found once, as long as it stays the template.
#include <gtest/gtest.h>

#include <algorithm>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 322;
constexpr CornerPoint start{300, 200};

class CudaTemplate : public testing::TestWithParam<std::int32_t> {
  protected:
    void SetUp() override {
        emulated_cuda::reset();
        captureOutput([&] {
            ASSERT_TRUE(engine.initJoint({rows, cols, 3, 1, 20000, 20000}, {GetParam(), 0}));
        });
        Frame first = frameAt(100, 70);
        ASSERT_EQ(stitch(&first, 0, 0).result, 0);
    }
    void TearDown() override { EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{}); }

    Frame frameAt(std::int32_t x, std::int32_t y) const {
        return picture.window(start.x + x, start.y + y, rows, cols);
    }
    /// The frame at (x, y) from where the first merged one was.
    StitchOutputs stitch(Frame* first, std::int32_t x, std::int32_t y) {
        emulated_cuda::reset();
        Frame frame = frameAt(x, y);
        StitchOutputs out;
        captureOutput([&] {
            out.result = engine.stichingImagedJoint({first != nullptr ? first->data() : nullptr, frame.data(),
                                                     first != nullptr ? 0 : 1, 1, expected, &out.minCorner,
                                                     &out.maxCorner, &out.mosaic, &out.flags});
        });
        return out;
    }
    /// Frames that were looked at for corners in the last call.
    static std::ptrdiff_t searched() {
        const auto launches = emulated_cuda::launches();
        return std::count_if(launches.begin(), launches.end(), [](const emulated_cuda::Launch& launch) {
            return launch.kernel == "findGradSquareCrossTermsKernel";
        });
    }
    void expectOffset(const StitchOutputs& out, std::int32_t x, std::int32_t y) {
        EXPECT_EQ(out.result, 0);
        EXPECT_EQ(out.flags.offset.x, x);
        EXPECT_EQ(out.flags.offset.y, y);
    }

    const Picture picture = makePicture(Texture::fine, 800, 1000, 3, 3);
    ExpectedShift expected{};
    CudaEngine engine{processLogSink()};
};

TEST_P(CudaTemplate, StaysDescribedWhileFramesArePassedOver) {
    expectOffset(stitch(nullptr, 6, 4), 6, 4);
    EXPECT_EQ(searched(), 2);
    EXPECT_EQ(engine.mosaic.templateState, TemplateState::described);
    expectOffset(stitch(nullptr, 12, 8), 12, 8);
    EXPECT_EQ(searched(), 1);
    expectOffset(stitch(nullptr, 80, 8), 80, 8);  // merged
    EXPECT_EQ(searched(), 1);
    EXPECT_EQ(engine.mosaic.templateState, TemplateState::placed);
    expectOffset(stitch(nullptr, 86, 12), 6, 4);
    EXPECT_EQ(searched(), 2);
}

TEST_P(CudaTemplate, OfANewMosaicIsDescribedWithIt) {
    Frame first = frameAt(4, 4);
    expectOffset(stitch(&first, 10, 10), 6, 6);
    EXPECT_EQ(searched(), 2);
    EXPECT_EQ(engine.mosaic.templateState, TemplateState::described);
    expectOffset(stitch(nullptr, 84, 10), 80, 6);
    EXPECT_EQ(searched(), 1);
}

TEST_P(CudaTemplate, IsDescribedAgainForAnotherExpectedShift) {
    stitch(nullptr, 6, 4);
    expected = {80, 60, true};
    stitch(nullptr, 80, 60);
    EXPECT_EQ(searched(), 2);
    expected = {};
    expectOffset(stitch(nullptr, 6, 4), 6, 4);
    EXPECT_EQ(searched(), 2);
    expectOffset(stitch(nullptr, 6, 4), 6, 4);
    EXPECT_EQ(searched(), 1);
}

// The template's place on the device is taken by then, and what is known about it may be half written.
TEST_P(CudaTemplate, IsDescribedAgainAfterACallThatBrokeOff) {
    stitch(nullptr, 6, 4);
    const StitchOutputs before = stitch(nullptr, 12, 8);
    for (const char* kernel : {"getWeightImageKernel", "findGradSquareCrossTermsKernel"}) {
        emulated_cuda::Faults faults;
        faults.kernel = kernel;
        Frame frame = frameAt(80, 8);
        emulated_cuda::setFaults(faults);
        captureOutput([&] {
            EXPECT_EQ(engine.stichingImagedJoint(
                          {nullptr, frame.data(), 1, 1, {}, nullptr, nullptr, nullptr, nullptr}),
                      -1);
        });
        EXPECT_EQ(engine.mosaic.templateState, TemplateState::placed);
        expectOffset(stitch(nullptr, 12, 8), 12, 8);
        EXPECT_EQ(searched(), 2);
    }
    const StitchOutputs merged = stitch(nullptr, 80, 8);
    expectOffset(merged, 80, 8);
    EXPECT_EQ(merged.flags.frameX, before.flags.frameX + 80);
    EXPECT_EQ(merged.flags.frameY, before.flags.frameY + 8);
}

// What is found in a template of one size is not to be used for another one.
TEST_P(CudaTemplate, IsDescribedAgainAfterASecondInitialisation) {
    stitch(nullptr, 6, 4);
    captureOutput([&] { ASSERT_TRUE(engine.initJoint({rows, cols, 3, 4, 20000, 20000}, {GetParam(), 0})); });
    expectOffset(stitch(nullptr, 12, 8), 12, 8);
    EXPECT_EQ(searched(), 2);
}

INSTANTIATE_TEST_SUITE_P(Modes, CudaTemplate, testing::Values(0, 1));

}  // namespace
}  // namespace brantel::test
