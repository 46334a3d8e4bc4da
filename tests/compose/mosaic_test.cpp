// The mosaic as a whole: its start and the merging of frames.
#include "compose/mosaic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <opencv2/core.hpp>

#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::listen;
using test::toOutput;

TEST(FillZeroSamples, TurnsZerosIntoOnesAndNothingElse) {
    std::vector<std::uint8_t> frame{0, 1, 2, 255, 0, 0, 7};
    fillZeroSamples(frame.data(), 6);
    EXPECT_EQ(frame, (std::vector<std::uint8_t>{1, 1, 2, 255, 1, 1, 7}));
    for (const std::size_t length : {1U, 31U, 64U, 65U, 200U}) {
        std::vector<std::uint8_t> bytes(length + 1, 0);
        fillZeroSamples(bytes.data(), static_cast<std::int64_t>(length));
        EXPECT_EQ(bytes.back(), 0);
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 1), static_cast<std::ptrdiff_t>(length));
    }
}

Mosaic startedMosaic(const ImageDesc& size, std::vector<std::uint8_t>* frame = nullptr) {
    const auto pixels = test::randomBytes(size.bytes(), 1);
    Mosaic mosaic;
    EXPECT_TRUE(startMosaic(toOutput(), mosaic, pixels.data(), size));
    if (frame != nullptr) *frame = pixels;
    return mosaic;
}

void expectStart(const ImageDesc& size, CornerPoint canvas, CornerPoint position) {
    const Mosaic mosaic = startedMosaic(size);
    EXPECT_EQ((CornerPoint{mosaic.canvas.cols, mosaic.canvas.rows}), canvas);
    EXPECT_EQ(mosaic.position(), position);
    EXPECT_EQ(mosaic.minimum, position);
    EXPECT_EQ(mosaic.maximum, (CornerPoint{position.x + size.cols, position.y + size.rows}));
    EXPECT_EQ(mosaic.templateState, TemplateState::first);
}

TEST(StartMosaic, TheFrameLiesInTheMiddleOfItsCanvas) {
    expectStart({0, 1, 2048, 2048}, {6000, 6000}, {1976, 1976});
    expectStart({0, 1, 50, 7000}, {9000, 6000}, {1000, 2975});
}

TEST(StartMosaic, EachTermOfTheCentreIsHalvedForItself) {
    expectStart({0, 1, 77, 6001}, {8001, 6000}, {4000 - 3000, 3000 - 38});
}

TEST(StartMosaic, TheCanvasIsBlackAroundTheFrame) {
    for (const std::int32_t channels : {1, 3}) {
        const ImageDesc size{0, channels, 30, 50};
        std::vector<std::uint8_t> frame;
        const Mosaic mosaic = startedMosaic(size, &frame);
        EXPECT_EQ(mosaic.canvas.type(), channels == 3 ? CV_8UC3 : CV_8UC1);
        const cv::Rect place(mosaic.minimum.x, mosaic.minimum.y, size.cols, size.rows);
        const cv::Mat pasted = mosaic.canvas(place).clone();
        EXPECT_EQ(std::memcmp(pasted.data, frame.data(), frame.size()), 0);
        double sum = 0;
        for (const std::uint8_t sample : frame) sum += sample;
        EXPECT_EQ(cv::sum(mosaic.canvas.reshape(1))[0], sum);
    }
}

TEST(StartMosaic, ReportsAFrameThatCannotBePasted) {
    Mosaic mosaic;
    const auto said = listen([&] { return startMosaic(toOutput(), mosaic, nullptr, {0, 1, 30, 50}); });
    EXPECT_FALSE(said.result);
    ASSERT_EQ(said.lines.size(), 2U);
    EXPECT_EQ(said.lines[1], "willSmallImgToBigImgAssignRowCol failed");
}

TEST(MergeFrame, PastesTheFusedPatchAndMovesPositionAndBounds) {
    const ImageDesc size{0, 1, 40, 60};
    Mosaic mosaic = startedMosaic(size);
    mosaic.record.offset = {20, -10};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    ASSERT_TRUE(mergeFrame(toOutput(), mosaic, size, patch.data(), [&](std::uint8_t* p) {
        EXPECT_EQ(p[0], 0) << "the cut starts above the first frame";
        std::memset(p, 200, patch.size());
        return p;
    }));
    EXPECT_EQ(mosaic.position(), (CornerPoint{2970 + 20, 2980 - 10}));
    EXPECT_EQ(mosaic.minimum, (CornerPoint{2970, 2970}));
    EXPECT_EQ(mosaic.maximum, (CornerPoint{3050, 3020}));
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(2970, 2990), 200);
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(3009, 3049), 200);
    EXPECT_EQ(mosaic.canvas.at<std::uint8_t>(3009, 3050), 0);
    EXPECT_EQ(mosaic.templateState, TemplateState::placed);
}

TEST(MergeFrame, GrowsByOneFrameOnEachSideThatNeedsIt) {
    const ImageDesc size{0, 3, 40, 60};
    Mosaic mosaic = startedMosaic(size);
    mosaic.record.frameX = 10;
    mosaic.record.frameY = 5950;
    mosaic.record.offset = {-20, 15};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    ASSERT_TRUE(mergeFrame(toOutput(), mosaic, size, patch.data(), [](std::uint8_t* p) { return p; }));
    EXPECT_EQ(mosaic.canvas.rows, 6040);
    EXPECT_EQ(mosaic.canvas.cols, 6060);
    EXPECT_EQ(mosaic.position(), (CornerPoint{10 + 60 - 20, 5965}));
}

TEST(MergeFrame, AFusionThatThrowsChangesNothing) {
    const ImageDesc size{0, 1, 40, 60};
    Mosaic mosaic = startedMosaic(size);
    const cv::Mat before = mosaic.canvas.clone();
    const Mosaic kept = mosaic;
    mosaic.record.offset = {20, -10};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    const auto noMemory = [](std::uint8_t*) -> const std::uint8_t* { throw std::bad_alloc(); };
    EXPECT_THROW(mergeFrame(toOutput(), mosaic, size, patch.data(), noMemory), std::bad_alloc);
    EXPECT_EQ(mosaic.position(), kept.position());
    EXPECT_EQ(mosaic.maximum, kept.maximum);
    EXPECT_EQ(cv::norm(mosaic.canvas, before, cv::NORM_INF), 0);
}

TEST(MergeFrame, AFrameStillOutsideAfterGrowingChangesNothing) {
    const ImageDesc size{0, 1, 40, 60};
    Mosaic mosaic = startedMosaic(size);
    const cv::Mat before = mosaic.canvas;
    mosaic.record.frameX = 10;
    mosaic.record.offset = {-200, 0};
    std::vector<std::uint8_t> patch(static_cast<std::size_t>(size.bytes()));
    EXPECT_FALSE(mergeFrame(toOutput(), mosaic, size, patch.data(), [](std::uint8_t* p) {
        ADD_FAILURE() << "there is nothing to fuse";
        return p;
    }));
    EXPECT_EQ(mosaic.record.frameX, 10);
    EXPECT_EQ(mosaic.canvas.data, before.data);
    EXPECT_EQ(mosaic.canvas.cols, 6000);
}

}  // namespace
}  // namespace brantel
