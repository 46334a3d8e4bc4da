// Where the canvas grows for a frame that would leave it.
#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "compose/canvas.h"

namespace brantel {
namespace {

constexpr std::int32_t h = 40;
constexpr std::int32_t w = 60;
constexpr std::int32_t canvasRows = 200;
constexpr std::int32_t canvasCols = 300;
constexpr std::int32_t growRows = 41;  // not the frame's own size, to tell the two apart
constexpr std::int32_t growCols = 67;

struct GrowthCase {
    const char* name;
    CornerPoint target;  // where the frame is to lie
    CanvasBorders borders;
};

// every line of the table; "fits" keeps a margin of one pixel
const GrowthCase growthCases[] = {
    {"left of a frame that fits in height", {0, 50}, {0, 0, 0, 0}},
    {"nothing in the middle", {100, 50}, {0, 0, 0, 0}},
    {"nothing at the margin on every side", {1, 1}, {0, 0, 0, 0}},
    {"nothing at the far margin", {canvasCols - 1 - w, canvasRows - 1 - h}, {0, 0, 0, 0}},
    {"right", {canvasCols - w, 50}, {0, 0, 0, growCols}},
    {"bottom and left", {0, canvasRows - h}, {0, growRows, growCols, 0}},
    {"bottom", {100, canvasRows - h}, {0, growRows, 0, 0}},
    {"bottom and right", {canvasCols - w, canvasRows - h}, {0, growRows, 0, growCols}},
    {"top", {100, 0}, {growRows, 0, 0, 0}},
    {"top and right", {canvasCols - w, 0}, {growRows, 0, 0, growCols}},
    {"top and left", {0, 0}, {growRows, 0, growCols, 0}},
    {"left only", {-25, 50}, {0, 0, growCols, 0}},
    {"top only, far out", {100, -39}, {growRows, 0, 0, 0}},
};

CanvasBorders bordersAt(CornerPoint target, std::int32_t frameRows, std::int32_t frameCols) {
    const CornerPoint position{90, 70};
    return bordersForFrame(growRows, growCols, position, {target.x - position.x, target.y - position.y},
                           frameRows, frameCols, canvasRows, canvasCols);
}

CanvasBorders expectedBorders(const GrowthCase& each) {
    CanvasBorders borders = each.borders;
    if (each.target.x < 1) borders.left = growCols;
    return borders;
}

TEST(BordersForFrame, FollowTheTable) {
    for (const GrowthCase& each : growthCases) {
        SCOPED_TRACE(each.name);
        const CanvasBorders expected = expectedBorders(each);
        const CanvasBorders actual = bordersAt(each.target, h, w);
        EXPECT_EQ(actual.top, expected.top);
        EXPECT_EQ(actual.bottom, expected.bottom);
        EXPECT_EQ(actual.left, expected.left);
        EXPECT_EQ(actual.right, expected.right);
    }
}

TEST(BordersForFrame, AFrameOutAtTheTopIsNotTestedAtTheBottomNorOneAtTheLeftOnTheRight) {
    const CanvasBorders tall = bordersAt({100, 0}, canvasRows + 50, w);
    EXPECT_EQ(tall.top, growRows);
    EXPECT_EQ(tall.bottom, 0);
    const CanvasBorders wide = bordersAt({0, 50}, h, canvasCols + 50);
    EXPECT_EQ(wide.left, growCols);
    EXPECT_EQ(wide.right, 0);
}

TEST(BordersForFrame, AFrameExactlyAtTheBottomMarginFitsOneRowMoreDoesNot) {
    EXPECT_TRUE(bordersAt({100, canvasRows - 1 - h}, h, w).none());
    EXPECT_EQ(bordersAt({100, canvasRows - h}, h, w).bottom, growRows);
}

TEST(BordersForFrame, ExtremeOffsetsDoNotOverflow) {
    constexpr std::int32_t huge = 2147483647;
    EXPECT_EQ(bordersForFrame(1, 1, {huge, huge}, {huge, huge}, huge, huge, 10, 10).right, 1);
    EXPECT_EQ(bordersForFrame(1, 1, {-huge, 5}, {-huge, 0}, 1, 1, 10, 10).left, 1);
}

cv::Mat patternCanvas(int type) {
    cv::Mat canvas(canvasRows, canvasCols, type);
    cv::RNG random(3);
    random.fill(canvas, cv::RNG::UNIFORM, 1, 255);
    return canvas;
}

TEST(GrowCanvasForFrame, AddsBlackBordersAndMovesPositionAndBounds) {
    for (const int type : {CV_8UC1, CV_8UC3})
        for (const GrowthCase& each : growthCases) {
            SCOPED_TRACE(each.name);
            const CanvasBorders expected = expectedBorders(each);
            const cv::Mat canvas = patternCanvas(type);
            const cv::Mat before = canvas.clone();
            Placement placement{{90, 70}, {80, 60}, {150, 110}};
            const cv::Mat grown = growCanvasForFrame(
                canvas, growRows, growCols, {each.target.x - 90, each.target.y - 70}, h, w, &placement);
            ASSERT_EQ(grown.rows, canvasRows + expected.top + expected.bottom);
            ASSERT_EQ(grown.cols, canvasCols + expected.left + expected.right);
            ASSERT_EQ(grown.type(), type);
            EXPECT_EQ(placement.position, (CornerPoint{90 + expected.left, 70 + expected.top}));
            EXPECT_EQ(placement.minimum, (CornerPoint{80 + expected.left, 60 + expected.top}));
            EXPECT_EQ(placement.maximum, (CornerPoint{150 + expected.left, 110 + expected.top}));
            const cv::Rect inner(expected.left, expected.top, canvasCols, canvasRows);
            EXPECT_EQ(cv::norm(grown(inner), before, cv::NORM_INF), 0);
            EXPECT_EQ(cv::sum(grown.reshape(1)), cv::sum(before.reshape(1))) << "the added borders are black";
        }
}

TEST(GrowCanvasForFrame, ALargeEnoughCanvasStaysTheSame) {
    const cv::Mat canvas = patternCanvas(CV_8UC1);
    Placement placement{{90, 70}, {80, 60}, {150, 110}};
    const cv::Mat same = growCanvasForFrame(canvas, growRows, growCols, {5, 5}, h, w, &placement);
    EXPECT_EQ(same.data, canvas.data);
    EXPECT_EQ(placement.position, (CornerPoint{90, 70}));
}

TEST(GrowCanvasForFrame, GrowsOncePerCallWhateverTheOvershoot) {
    Placement placement{{90, 70}, {80, 60}, {150, 110}};
    const cv::Mat grown =
        growCanvasForFrame(patternCanvas(CV_8UC1), growRows, growCols, {-1000, 1000}, h, w, &placement);
    EXPECT_EQ(grown.rows, canvasRows + growRows);
    EXPECT_EQ(grown.cols, canvasCols + growCols);
}

TEST(GrowCanvasForFrame, ACanvasBeyondTheIndexRangeIsRefusedAndNothingMoves) {
    Placement placement{{90, 70}, {80, 60}, {150, 110}};
    EXPECT_ANY_THROW(
        growCanvasForFrame(patternCanvas(CV_8UC1), 2147483647, growCols, {0, -100}, h, w, &placement));
    EXPECT_EQ(placement.position, (CornerPoint{90, 70}));
    EXPECT_EQ(placement.minimum, (CornerPoint{80, 60}));
}

TEST(NewCanvasSide, Is6000OrTheFrameAnd2000More) {
    EXPECT_EQ(newCanvasSide(1), 6000);
    EXPECT_EQ(newCanvasSide(2048), 6000);
    EXPECT_EQ(newCanvasSide(6000), 6000);
    EXPECT_EQ(newCanvasSide(6001), 8001);
    EXPECT_EQ(newCanvasSide(7000), 9000);
    EXPECT_ANY_THROW(newCanvasSide(2147483647));
}

}  // namespace
}  // namespace brantel
