// Canvases of untouched zero pages: black, grown as a copy with a border would be, and released once.
#include "compose/canvas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "simd/crew.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

bool isBlack(const cv::Mat& image) {
    const std::int64_t bytes = static_cast<std::int64_t>(image.total() * image.elemSize());
    return std::all_of(image.data, image.data + bytes, [](std::uint8_t value) { return value == 0; });
}

bool sameBytes(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && a.isContinuous() && b.isContinuous() &&
           std::equal(a.data, a.data + a.total() * a.elemSize(), b.data);
}

TEST(BlackCanvas, IsBlackAndTightlyPacked) {
    for (const std::int32_t type : {CV_8UC1, CV_8UC3})
        for (const auto& [rows, cols] : {std::pair{1, 1}, {1, 4097}, {333, 77}, {700, 900}}) {
            const cv::Mat canvas = blackCanvas(rows, cols, type);
            EXPECT_EQ(canvas.rows, rows);
            EXPECT_EQ(canvas.cols, cols);
            EXPECT_EQ(canvas.type(), type);
            EXPECT_TRUE(canvas.isContinuous());
            EXPECT_TRUE(isBlack(canvas));
        }
}

TEST(BlackCanvas, IsBlackAgainWhereAPaintedOneWasReleased) {
    for (int i = 0; i < 5; ++i) {
        cv::Mat canvas = blackCanvas(600, 500, CV_8UC3);
        ASSERT_TRUE(isBlack(canvas)) << "round " << i;
        canvas.setTo(cv::Scalar::all(255));
    }
}

TEST(BlackCanvas, LivesAsLongAsItsLastHeader) {
    cv::Mat second;
    cv::Mat part;
    {
        cv::Mat first = blackCanvas(300, 200, CV_8UC1);
        second = first;
        part = first(cv::Rect(10, 20, 30, 40));
        ASSERT_NE(first.u, nullptr);
        EXPECT_EQ(first.u->refcount, 3);
        first.setTo(cv::Scalar(7));
    }
    EXPECT_EQ(second.u->refcount, 2);
    EXPECT_EQ(second.at<std::uint8_t>(299, 199), 7);
    second.release();
    EXPECT_EQ(part.u->refcount, 1);
    EXPECT_EQ(cv::sum(part)[0], 7.0 * 30 * 40);
    cv::Mat copy = part.clone();  // its own memory, from the usual allocator
    part.release();
    EXPECT_EQ(cv::sum(copy)[0], 7.0 * 30 * 40);
    copy.create(800, 800, CV_8UC3);
}

TEST(BlackCanvas, CanBeReplacedThroughItsHeader) {
    cv::Mat canvas = blackCanvas(50, 60, CV_8UC3);
    canvas.create(70, 80, CV_8UC1);
    canvas.setTo(cv::Scalar(3));
    EXPECT_EQ(cv::sum(canvas)[0], 3.0 * 70 * 80);
    canvas = blackCanvas(50, 60, CV_8UC3);
    EXPECT_TRUE(isBlack(canvas));
}

TEST(GrowCanvas, IsACopyWithABorder) {
    Crew crew;
    Random random(51);
    int grown = 0;
    for (int i = 0; i < 120; ++i) {
        const std::int32_t type = i % 2 == 0 ? CV_8UC1 : CV_8UC3;
        cv::Mat canvas = blackCanvas(random.between(60, 300), random.between(60, 300), type);
        PaintedRows painted(canvas.rows);
        for (int part = 0; part < 2; ++part) {
            Region region{};
            region.rowStart = random.between(0, canvas.rows);
            region.rowEnd = random.between(region.rowStart, canvas.rows);
            region.colStart = random.between(0, canvas.cols);
            region.colEnd = random.between(region.colStart, canvas.cols);
            painted.add(region);
            cv::Mat inside =
                canvas(cv::Range(region.rowStart, region.rowEnd), cv::Range(region.colStart, region.colEnd));
            for (int r = 0; r < inside.rows; ++r) {
                const std::vector<std::uint8_t> row =
                    randomBytes(inside.cols * inside.elemSize(), r + 1000 * i);
                std::copy(row.begin(), row.end(), inside.ptr(r));
            }
        }
        const std::int32_t frameRows = random.between(10, 50);
        const std::int32_t frameCols = random.between(10, 50);
        Placement placement{
            {random.between(0, canvas.cols - frameCols), random.between(0, canvas.rows - frameRows)},
            {3, 4},
            {90, 80}};
        const Placement before = placement;
        const PaintedRows paintedBefore = painted;
        const Offset offset{random.between(-60, 60), random.between(-60, 60)};
        const CanvasBorders borders = bordersForFrame(frameRows, frameCols, placement.position, offset,
                                                      frameRows, frameCols, canvas.rows, canvas.cols);
        const cv::Mat result =
            growCanvasForFrame(canvas, frameRows, frameCols, offset, frameRows, frameCols, &placement,
                               &painted, i % 3 == 0 ? nullptr : crew.workers());
        cv::Mat expected;
        cv::copyMakeBorder(canvas, expected, borders.top, borders.bottom, borders.left, borders.right,
                           cv::BORDER_CONSTANT, cv::Scalar::all(0));
        ASSERT_TRUE(sameBytes(result, expected)) << "canvas " << i;
        EXPECT_EQ(result.data == canvas.data, borders.none());
        grown += borders.none() ? 0 : 1;
        EXPECT_EQ(placement.position.x, before.position.x + borders.left);
        EXPECT_EQ(placement.position.y, before.position.y + borders.top);
        EXPECT_EQ(placement.minimum.x, before.minimum.x + borders.left);
        EXPECT_EQ(placement.maximum.y, before.maximum.y + borders.top);
        for (std::int32_t r = 0; r < canvas.rows; ++r) {
            const ColumnSpan& span = *painted.from(r + borders.top);
            ASSERT_EQ(span.length(), paintedBefore.from(r)->length());
            ASSERT_TRUE(span.isEmpty() || span.first == paintedBefore.from(r)->first + borders.left);
        }
    }
    EXPECT_GT(grown, 40);
}

}  // namespace
}  // namespace brantel::test
