// Corners and blend weights of the device beside their definitions: number by number, byte by byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "api/process_log.h"
#include "common/grey.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "gpu/reference.h"
#include "reference/harris.h"
#include "reference/weights.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;
using Corners = std::vector<CornerPoint>;

/// What selection makes of the smoothed products of a grey image.
Corners cornersOf(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                  const CornerTuning& tuning) {
    const gpu_test::Products products = gpu_test::smoothedProducts(grey, rows, cols);
    Corners corners;
    captureOutput([&] {
        corners = reference::selectCorners(toOutput(), products.xx.data(), products.yy.data(),
                                           products.xy.data(), rows / 2, cols / 2, tuning);
    });
    return corners;
}

/// (columns, channels)
class CudaDefinitions : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
  protected:
    static constexpr std::int32_t rows = 241;

    void SetUp() override {
        emulated_cuda::reset();
        captureOutput([&] {
            ASSERT_TRUE(engine.initJoint({rows, cols(), channels(), 1, 20000, 20000}, {}));
        });
    }
    void TearDown() override { EXPECT_EQ(emulated_cuda::violations(), Lines{}); }

    static std::int32_t cols() { return std::get<0>(GetParam()); }
    static std::int32_t channels() { return std::get<1>(GetParam()); }
    static Frame greyOfPicture(const Picture& picture) {
        if (picture.channels == 1) return picture.pixels;
        Frame grey;
        for (std::size_t i = 0; i < picture.pixels.size(); i += 3)
            grey.push_back(greyOf(picture.pixels[i], picture.pixels[i + 1], picture.pixels[i + 2]));
        return grey;
    }
    Frame fetch(const DeviceBuffer<std::uint8_t>& from) const {
        Frame to(static_cast<std::size_t>(engine.frame.pixels()));
        toHost(to.data(), from, engine.frame.pixels());
        return to;
    }
    /// The corners of a frame on one side.
    const Corners& search(CudaSide& side, const Frame& pixels, ExpectedShift expected = {}) {
        toDevice(side.frame, pixels.data(), engine.frame.bytes());
        engine.expected = expected;
        side.features.corners.clear();
        captureOutput([&] { engine.describeSide(side); });
        return side.features.corners;
    }
    void expectRowRangeSearched(CudaSide& side, CornerPoint shift, bool reverse);
    void expectDefinedWeights(const Frame& a, const Frame& b, std::int32_t height, std::int32_t width);

    CudaEngine engine{processLogSink()};
};

TEST_P(CudaDefinitions, BothSidesFindExactlyTheDefinedCorners) {
    const Picture picture = makePicture(Texture::fine, rows, cols(), channels(), 4);
    const Corners expected = cornersOf(greyOfPicture(picture).data(), rows, cols(), engine.tuning);
    ASSERT_GE(expected.size(), 20U);
    for (CudaSide* side : {&engine.previousSide, &engine.currentSide})
        EXPECT_EQ(search(*side, picture.pixels), expected);
}

/// What a shift's signs say: where the range starts and how its corners are moved.
struct RangeRule {
    CornerPoint start;
    CornerPoint moved;
};
RangeRule ruleFor(CornerPoint shift) {
    const std::int32_t x = std::abs(shift.x), y = std::abs(shift.y);
    if (shift.x < 0) return shift.y < 0 ? RangeRule{{x, 0}, {x, 0}} : RangeRule{{x, y}, {0, 0}};
    return shift.y < 0 ? RangeRule{{0, y}, {0, y}} : RangeRule{{0, 0}, {x, y}};
}

/// Each row of a range leaves one of its samples, the thread's that came last, in a buffer that keeps what it held.
/// The whole buffer is searched, without packing, and what is found is moved.
void CudaDefinitions::expectRowRangeSearched(CudaSide& side, CornerPoint shift, bool reverse) {
    const Picture before = makePicture(Texture::fine, rows, cols(), 1, 9);
    toDevice(side.crop, before.pixels.data(), engine.frame.pixels());
    emulated_cuda::Faults order;
    order.reverse = reverse;
    emulated_cuda::setFaults(order);
    const Picture picture{rows, cols(), channels(), randomBytes(std::int64_t{rows} * cols() * channels(), 3)};
    const Corners found = search(side, picture.pixels, {shift.x, shift.y, true});

    const RangeRule rule = ruleFor(shift);
    const std::int32_t rangeRows = rows - std::abs(shift.y), rangeCols = cols() - std::abs(shift.x);
    const Frame grey = greyOfPicture(picture);
    Frame expected = before.pixels;
    for (std::int32_t y = 0; y < rangeRows; ++y) {
        const std::int32_t last = reverse ? 0 : rangeCols - 1;
        const std::int64_t from = std::int64_t{y + rule.start.y} * cols() + last + rule.start.x;
        const std::int64_t to = std::int64_t{y + 1} * rangeCols;
        if (to < engine.frame.pixels())
            expected[static_cast<std::size_t>(to)] = grey[static_cast<std::size_t>(from)];
    }
    EXPECT_TRUE(fetch(side.crop) == expected);

    Corners corners = cornersOf(expected.data(), rows, cols() / 2 * 2, engine.tuning);
    for (CornerPoint& corner : corners) {
        corner.x += rule.moved.x;
        corner.y += rule.moved.y;
    }
    ASSERT_GE(corners.size(), 20U);
    EXPECT_EQ(found, corners);
}

TEST_P(CudaDefinitions, RowRangesFollowTheSignsOfTheShift) {
    for (CudaSide* side : {&engine.previousSide, &engine.currentSide})
        for (const CornerPoint shift :
             {CornerPoint{-40, -30}, {-40, 30}, {40, -30}, {40, 30}, {-41, 0}, {0, -31}, {41, 0}, {0, 31}})
            for (const bool reverse : {false, true}) {
                SCOPED_TRACE(testing::Message() << shift.x << ", " << shift.y << (reverse ? " reverse" : ""));
                expectRowRangeSearched(*side, shift, reverse);
            }
}

// A frame of odd width is packed somewhere else.
TEST_P(CudaDefinitions, ASearchOfTheWholeFrameLeavesTheRowRangeAlone) {
    for (CudaSide* side : {&engine.previousSide, &engine.currentSide}) {
        const Frame before = fetch(side->crop);
        search(*side, makePicture(Texture::fine, rows, cols(), channels(), 4).pixels);
        EXPECT_TRUE(fetch(side->crop) == before);
    }
}

/// A picture with empty parts: bands at two edges, a block inside and scattered pixels.
Frame withHoles(Picture picture, std::int32_t band, unsigned seed) {
    const Frame chance = randomBytes(std::int64_t{picture.rows} * picture.cols, seed);
    for (std::int32_t y = 0; y < picture.rows; ++y)
        for (std::int32_t x = 0; x < picture.cols; ++x) {
            const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.cols) +
                            static_cast<std::size_t>(x);
            const bool hole = y < band || x >= picture.cols - 2 * band || chance[at] == 0 ||
                              (y > 100 && y < 140 && x > 3 * band && x < 5 * band);
            for (std::int32_t c = 0; c < picture.channels; ++c) {
                std::uint8_t& sample = picture.pixels[at * static_cast<std::size_t>(picture.channels) +
                                                      static_cast<std::size_t>(c)];
                sample = hole ? 0 : std::max<std::uint8_t>(sample, 1);
            }
        }
    return picture.pixels;
}

/// Canvas cut a against a full frame b.
void CudaDefinitions::expectDefinedWeights(const Frame& a, const Frame& b, std::int32_t height,
                                           std::int32_t width) {
    const auto pixels = static_cast<std::size_t>(height) * static_cast<std::size_t>(width);
    toDevice(engine.previousSide.frame, a.data(), static_cast<std::int64_t>(a.size()));
    toDevice(engine.currentSide.frame, b.data(), static_cast<std::int64_t>(b.size()));
    ASSERT_EQ(engine.seamBlend(engine.previousSide.frame.data(), engine.currentSide.frame.data(), height,
                               width, channels(), engine.weights.data()),
              1);
    Frame weights(pixels);
    toHost(weights.data(), engine.weights, static_cast<std::int64_t>(pixels));

    std::vector<float> distancesA(pixels), distancesB(pixels);
    Frame processors(pixels);
    ASSERT_TRUE(reference::weightMask(toOutput(), a.data(), b.data(), height, width, channels(),
                                      distancesA.data(), distancesB.data(), processors.data()));
    Frame defined(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        const float sum = distancesA[i] + distancesB[i];
        if (sum != 0.0F)
            defined[i] = static_cast<std::uint8_t>(static_cast<float>(distancesA[i] * 255.0 / sum));
    }
    EXPECT_TRUE(weights == defined);
    // The processor's quotients are of single precision.
    for (std::size_t i = 0; i < pixels; ++i) {
        EXPECT_LE(std::abs(weights[i] - processors[i]), 1) << i;
    }
    for (const int extreme : {0, 255}) EXPECT_GT(std::count(weights.begin(), weights.end(), extreme), 100);
    EXPECT_GT(std::count_if(weights.begin(), weights.end(), [](int w) { return w > 20 && w < 235; }), 1000);
}

// The frame's distances follow from its size and are kept, the canvas's are made for every frame.
TEST_P(CudaDefinitions, WeightsOfDifferentContentAreTheDefinedOnes) {
    const std::int32_t sizes[][2] = {{rows, cols()},           {rows, cols()},           {rows, cols() - 31},
                                     {rows - 40, cols() - 31}, {rows - 31, cols() - 40}, {rows, cols()}};
    unsigned seed = 1;
    for (const auto& [height, width] : sizes) {
        const Frame a = withHoles(makePicture(Texture::fine, height, width, channels(), seed), 31, seed + 5);
        Frame b = makePicture(Texture::grains, height, width, channels(), seed + 1).pixels;
        for (std::uint8_t& sample : b) sample = std::max<std::uint8_t>(sample, 1);
        expectDefinedWeights(a, b, height, width);
        ++seed;
    }
}

// What was kept on the device went with it.
TEST_P(CudaDefinitions, AfterATeardownWeightsAreAsBefore) {
    const Frame a = withHoles(makePicture(Texture::fine, rows, cols(), channels(), 3), 31, 5);
    const Frame b(static_cast<std::size_t>(engine.frame.bytes()), 100);
    expectDefinedWeights(a, b, rows, cols());
    captureOutput([&] { engine.uinitJoint(); });
    SetUp();
    expectDefinedWeights(a, b, rows, cols());
}

INSTANTIATE_TEST_SUITE_P(WidthsAndChannels, CudaDefinitions,
                         testing::Combine(testing::Values(322, 321), testing::Values(1, 3)));

}  // namespace
}  // namespace brantel::test
