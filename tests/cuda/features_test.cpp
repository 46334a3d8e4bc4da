// One worker's job: launches as planned, features like the processor's, nothing out of bounds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/grey.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "registration/detection.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using emulated_cuda::Launch;
using Launches = std::vector<Launch>;
using Lines = std::vector<std::string>;

class CudaFeatures : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        tearDown();
    }
    void tearDown() {
        captureOutput([&] { engine.uinitJoint(); });
    }

    /// Brings the backend up for a picture and hands it to the previous frame's side.
    void load(const Picture& picture) {
        emulated_cuda::reset();
        captureOutput([&] {
            ASSERT_TRUE(
                engine.initJoint({picture.rows, picture.cols, picture.channels, 1, 20000, 20000}, {}));
        });
        toDevice(side().frame, picture.pixels.data(), engine.frame.bytes());
        emulated_cuda::reset();
    }
    CudaSide& side() { return engine.previousSide; }
    const std::uint8_t* hostGrey() {
        float* memory = side().arena.within(Phase::registration);
        return HostImages(memory, engine.frame, engine.tuning.workingScale).grey;
    }
    void expectTheProcessorsCorners(std::int32_t cols);
    Lines run(ExpectedShift expected = {}) {
        engine.expected = expected;
        side().features.corners.clear();
        return captureLines([&] { engine.describeSide(side()); });
    }

    CudaEngine engine{processLogSink()};
};

unsigned blocks(std::int32_t count) {
    return static_cast<unsigned>((count + 31) / 32);
}
/// 32 x 32 threads per block over rows x cols.
Launch over(const char* kernel, std::int32_t rows, std::int32_t cols) {
    return {kernel, blocks(cols), blocks(rows), 32, 32};
}

/// The launches of corner detection at h x w.
void appendDetection(Launches& list, std::int32_t h, std::int32_t w) {
    list.push_back(over("opencvInterLineARResizeDownCh1Kernel", h, w));
    list.push_back(over("findGradSquareCrossTermsKernel", h - 2, w - 2));
    for (int product = 0; product < 3; ++product) {
        list.push_back(over("opencvcopyFilter2DBorderRowFloat", h + 4, w));
        list.push_back({"opencvcopyFilter2DBorderColFloat", 1, blocks(h + 4), 2, 32});
        list.push_back(over("opencvFilter2DRowCalcFloatWin5", h, w + 4));
        list.push_back(over("opencvFilter2DColCalcFloatWin5", h + 4, w));
        list.push_back(over("opencvcopyFilter2DTakeOutBoundFloat", h, w));
    }
}

TEST_F(CudaFeatures, AColourFrameIsTurnedGreyAndSearchedAtHalfSize) {
    const Picture picture = makePicture(Texture::fine, 251, 390, 3, 1);
    load(picture);
    run();
    Launches expected{over("rgb2GaryKernel", 251, 390)};
    appendDetection(expected, 125, 195);
    EXPECT_EQ(emulated_cuda::launches(), expected);
}

TEST_F(CudaFeatures, AGreyFrameIsSearchedAsItIs) {
    const Picture picture = makePicture(Texture::fine, 250, 391, 1, 1);
    load(picture);
    run();
    Launches expected;
    appendDetection(expected, 125, 195);
    EXPECT_EQ(emulated_cuda::launches(), expected);
    EXPECT_TRUE(std::equal(picture.pixels.begin(), picture.pixels.end(), hostGrey()));
}

TEST_F(CudaFeatures, TheOtherWorkerHasItsOwnGreyKernel) {
    const Picture picture = makePicture(Texture::fine, 120, 160, 3, 1);
    load(picture);
    toDevice(engine.currentSide.frame, picture.pixels.data(), engine.frame.bytes());
    captureOutput([&] { engine.describeSide(engine.currentSide); });
    EXPECT_EQ(emulated_cuda::launches().front().kernel, "rgb2GaryKernel2");
}

TEST_F(CudaFeatures, ARowRangeIsCutBeforeItIsSearchedAtTheFramesSize) {
    const Picture picture = makePicture(Texture::fine, 240, 322, 1, 1);
    load(picture);
    run({-10, 5, true});
    Launches expected{over("getRowRangeKernel", 235, 312)};
    appendDetection(expected, 120, 161);
    EXPECT_EQ(emulated_cuda::launches(), expected);
}

TEST_F(CudaFeatures, NoExpectedShiftLeavesTheBuffers) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    const std::int32_t shifts[] = {0, 1, -1, 57, -57, 99, -99, 100, -100, 130, -130, highest, lowest};
    for (const std::int32_t channels : {1, 3}) {
        const Picture picture = makePicture(Texture::fine, 100, 130, channels, 1);
        load(picture);
        for (const std::int32_t dx : shifts)
            for (const std::int32_t dy : shifts) run({dx, dy, true});
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        tearDown();
    }
}

TEST_F(CudaFeatures, FramesWithoutOverlapHaveNoCorners) {
    const Picture picture = makePicture(Texture::fine, 100, 130, 1, 1);
    load(picture);
    EXPECT_EQ(run({130, 0, true}), Lines{"HarrissCornerSPoint22222222222 size is 0"});
    EXPECT_TRUE(emulated_cuda::launches().empty());
}

TEST_F(CudaFeatures, AFeaturelessFrameHasNoCornersAndSaysSo) {
    const Picture picture{120, 160, 1, std::vector<std::uint8_t>(120 * 160, 90)};
    load(picture);
    const Lines lines = run();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "HarrissCornerSPoint22222222222 size is 0");
    EXPECT_TRUE(side().features.corners.empty());
}

TEST_F(CudaFeatures, FramesOfAnySizeAreSafe) {
    for (const std::int32_t rows : {1, 2, 3, 5, 39, 81, 83})
        for (const std::int32_t cols : {1, 2, 3, 5, 40, 82, 85})
            for (const std::int32_t channels : {1, 3}) {
                const Picture picture{rows, cols, channels,
                                      randomBytes(std::int64_t{rows} * cols * channels, 3)};
                load(picture);
                run();
                run({0, 0, true});
                EXPECT_EQ(emulated_cuda::violations(), Lines{}) << rows << " x " << cols;
                tearDown();
            }
}

// Only the smoothing's arithmetic differs: double on the device, single precision on the processor.
void CudaFeatures::expectTheProcessorsCorners(std::int32_t cols) {
    const Picture picture = makePicture(Texture::grains, 360, cols, 3, 4);
    load(picture);
    run();

    std::vector<std::uint8_t> grey;
    for (std::size_t i = 0; i < picture.pixels.size(); i += 3)
        grey.push_back(greyOf(picture.pixels[i], picture.pixels[i + 1], picture.pixels[i + 2]));
    EXPECT_TRUE(std::equal(grey.begin(), grey.end(), hostGrey()));

    HarrisImages images;
    std::vector<CornerPoint> corners;
    captureOutput([&] {
        findHarrisCornerCoordianteFun(toOutput(), grey.data(), {0, 1, 360, cols}, engine.tuning, images,
                                      corners, nullptr);
    });
    ASSERT_FALSE(corners.empty());
    const auto& found = side().features.corners;
    EXPECT_EQ(found.size(), corners.size());
    const auto common = std::count_if(found.begin(), found.end(), [&](const CornerPoint& corner) {
        return std::find(corners.begin(), corners.end(), corner) != corners.end();
    });
    EXPECT_GE(common, static_cast<std::ptrdiff_t>(corners.size() * 95 / 100));
}

TEST_F(CudaFeatures, FindsWhatTheProcessorFinds) {
    expectTheProcessorsCorners(480);
}

TEST_F(CudaFeatures, FindsWhatTheProcessorFindsInFramesOfOddWidth) {
    expectTheProcessorsCorners(481);
}

TEST_F(CudaFeatures, TheOrderOfThreadsDoesNotMatter) {
    const Picture picture = makePicture(Texture::fine, 150, 210, 3, 9);
    load(picture);
    run();
    const std::vector<CornerPoint> forward = side().features.corners;
    emulated_cuda::Faults reversed;
    reversed.reverse = true;
    emulated_cuda::setFaults(reversed);
    run();
    EXPECT_FALSE(forward.empty());
    EXPECT_EQ(side().features.corners, forward);
}

}  // namespace
}  // namespace brantel::test
