// Canvases of untouched zero pages: black, grown where a frame would leave them, and released once.
#include "compose/canvas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "support/idle_workers.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

bool isBlack(const cv::Mat& image) {
    const std::int64_t bytes = static_cast<std::int64_t>(image.total() * image.elemSize());
    return std::all_of(image.data, image.data + bytes, [](std::uint8_t value) { return value == 0; });
}

/// Row by row: after growth there may be room between them.
bool samePixels(const cv::Mat& a, const cv::Mat& b) {
    bool same = a.size() == b.size() && a.type() == b.type();
    for (int r = 0; same && r < a.rows; ++r)
        same = std::equal(a.ptr(r), a.ptr(r) + a.cols * a.elemSize(), b.ptr(r));
    return same;
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

TEST(NewCanvasSide, Is6000OrTheFrameAnd2000More) {
    EXPECT_EQ(newCanvasSide(1), 6000);
    EXPECT_EQ(newCanvasSide(2048), 6000);
    EXPECT_EQ(newCanvasSide(6000), 6000);
    EXPECT_EQ(newCanvasSide(6001), 8001);
    EXPECT_EQ(newCanvasSide(7000), 9000);
    EXPECT_ANY_THROW(newCanvasSide(2147483647));
}

constexpr std::int32_t h = 40;
constexpr std::int32_t w = 60;
constexpr std::int32_t canvasRows = 200;
constexpr std::int32_t canvasCols = 300;
constexpr std::int32_t growRows = 41;  // not the frame's own size, to tell the two apart
constexpr std::int32_t growCols = 67;
constexpr CornerPoint position{90, 70};

Offset offsetTo(CornerPoint target) {
    return {target.x - position.x, target.y - position.y};
}

CanvasBorders bordersAt(CornerPoint target, std::int32_t frameRows = h, std::int32_t frameCols = w) {
    return bordersForFrame(growRows, growCols, position, offsetTo(target), frameRows, frameCols, canvasRows,
                           canvasCols);
}

struct GrowthCase {
    const char* name;
    CornerPoint target;  // where the frame is to lie
    CanvasBorders borders;
};

// every line of the table; "fits" keeps a margin of one pixel
const GrowthCase growthCases[] = {
    {"left of a frame that fits in height", {0, 50}, {0, 0, growCols, 0}},
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

TEST(BordersForFrame, FollowTheTable) {
    for (const GrowthCase& each : growthCases) {
        SCOPED_TRACE(each.name);
        const CanvasBorders borders = bordersAt(each.target);
        EXPECT_EQ(borders.top, each.borders.top);
        EXPECT_EQ(borders.bottom, each.borders.bottom);
        EXPECT_EQ(borders.left, each.borders.left);
        EXPECT_EQ(borders.right, each.borders.right);
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

TEST(BordersForFrame, ExtremeOffsetsDoNotOverflow) {
    constexpr std::int32_t huge = 2147483647;
    EXPECT_EQ(bordersForFrame(1, 1, {huge, huge}, {huge, huge}, huge, huge, 10, 10).right, 1);
    EXPECT_EQ(bordersForFrame(1, 1, {-huge, 5}, {-huge, 0}, 1, 1, 10, 10).left, 1);
}

/// A canvas with what is known about it.
struct Canvas {
    cv::Mat picture;
    PaintedRows painted;
    Placement placement{position, {80, 60}, {150, 110}};

    Canvas(std::int32_t rows, std::int32_t cols, std::int32_t type)
        : picture(blackCanvas(rows, cols, type)), painted(rows) {}

    void paint(const Region& region, std::uint64_t seed) {
        painted.add(region);
        cv::Mat inside =
            picture(cv::Range(region.rowStart, region.rowEnd), cv::Range(region.colStart, region.colEnd));
        for (int r = 0; r < inside.rows; ++r) {
            const auto row =
                randomBytes(static_cast<std::int64_t>(inside.cols * inside.elemSize()), seed + r);
            std::copy(row.begin(), row.end(), inside.ptr(r));
        }
    }
    void paintSomewhere(Random& random) {
        const std::int32_t rowStart = random.between(0, picture.rows);
        const std::int32_t colStart = random.between(0, picture.cols);
        paint({rowStart, random.between(rowStart, picture.rows), colStart,
               random.between(colStart, picture.cols)},
              random.next());
    }

    /// Black where nothing was painted, as far as is known.
    bool isBlackBesidePainted() const {
        cv::Mat rest = picture.clone();
        for (std::int32_t r = 0; r < rest.rows; ++r) {
            const ColumnSpan& span = *painted.from(r);
            if (!span.isEmpty())
                rest(cv::Range(r, r + 1), cv::Range(span.first - painted.left(), span.last - painted.left()))
                    .setTo(cv::Scalar::all(0));
        }
        return isBlack(rest);
    }

    /// Grows by what a frame needs into the copy that OpenCV makes with such borders, and everything moves along.
    void grow(const CanvasBorders& borders, std::int32_t rowGrowth, std::int32_t colGrowth, Offset offset,
              std::int32_t frameRows, std::int32_t frameCols, WorkerPair* workers = nullptr) {
        const Placement before = placement;
        const cv::Mat grown = growCanvasForFrame(picture, rowGrowth, colGrowth, offset, frameRows, frameCols,
                                                 &placement, &painted, workers);
        cv::Mat expected;
        cv::copyMakeBorder(picture, expected, borders.top, borders.bottom, borders.left, borders.right,
                           cv::BORDER_CONSTANT, cv::Scalar::all(0));
        ASSERT_TRUE(samePixels(grown, expected));
        if (borders.none()) {
            EXPECT_EQ(grown.data, picture.data);
        }
        picture = grown;
        EXPECT_TRUE(isBlackBesidePainted());
        const auto expectMoved = [&](CornerPoint now, CornerPoint then) {
            EXPECT_EQ(now, (CornerPoint{then.x + borders.left, then.y + borders.top}));
        };
        expectMoved(placement.position, before.position);
        expectMoved(placement.minimum, before.minimum);
        expectMoved(placement.maximum, before.maximum);
    }
};

TEST(GrowCanvasForFrame, FollowsTheTable) {
    for (const std::int32_t type : {CV_8UC1, CV_8UC3})
        for (const GrowthCase& each : growthCases) {
            SCOPED_TRACE(each.name);
            Canvas canvas(canvasRows, canvasCols, type);
            canvas.paint({0, canvasRows, 0, canvasCols}, 3);
            canvas.grow(each.borders, growRows, growCols, offsetTo(each.target), h, w);
        }
}

TEST(GrowCanvasForFrame, IsACopyWithABorderWhateverIsPaintedHoweverOftenItGrows) {
    IdleWorkers workers;
    Random random(51);
    int grown = 0;
    for (int i = 0; i < 60; ++i) {
        Canvas canvas(random.between(60, 300), random.between(60, 300), i % 2 == 0 ? CV_8UC1 : CV_8UC3);
        for (int growth = 0; growth < 6; ++growth) {
            SCOPED_TRACE(testing::Message() << "canvas " << i << ", growth " << growth);
            canvas.paintSomewhere(random);
            const std::int32_t rows = canvas.picture.rows;
            const std::int32_t cols = canvas.picture.cols;
            const std::int32_t frameRows = random.between(10, 50);
            const std::int32_t frameCols = random.between(10, 50);
            canvas.placement.position = {random.between(0, cols - frameCols),
                                         random.between(0, rows - frameRows)};
            const Offset offset{random.between(-cols, cols), random.between(-rows, rows)};
            const CanvasBorders borders = bordersForFrame(frameRows, frameCols, canvas.placement.position,
                                                          offset, frameRows, frameCols, rows, cols);
            grown += borders.none() ? 0 : 1;
            canvas.grow(borders, frameRows, frameCols, offset, frameRows, frameCols,
                        i % 3 == 0 ? nullptr : workers.pair());
            if (testing::Test::HasFailure()) return;
        }
    }
    EXPECT_GT(grown, 150);
}

TEST(GrowCanvasForFrame, GrowsOncePerCallWhateverTheOvershoot) {
    Canvas canvas(canvasRows, canvasCols, CV_8UC1);
    canvas.grow({0, growRows, growCols, 0}, growRows, growCols, {-1000, 1000}, h, w);
}

TEST(GrowCanvasForFrame, ACanvasBeyondTheIndexRangeIsRefusedAndNothingMoves) {
    Canvas canvas(canvasRows, canvasCols, CV_8UC1);
    EXPECT_ANY_THROW(growCanvasForFrame(canvas.picture, 2147483647, growCols, {0, -100}, h, w,
                                        &canvas.placement, &canvas.painted, nullptr));
    EXPECT_EQ(canvas.placement.position, position);
    EXPECT_EQ(canvas.placement.minimum, (CornerPoint{80, 60}));
}

TEST(GrowCanvas, HeadersOfSmallerCanvasesKeepTheirPixels) {
    Canvas canvas(canvasRows, canvasCols, CV_8UC3);
    canvas.paint({10, 190, 20, 290}, 1);
    for (const CanvasBorders& borders :
         {CanvasBorders{0, 50, 0, 0}, CanvasBorders{0, 0, 0, 60}, CanvasBorders{70, 0, 80, 0}}) {
        const cv::Mat held = canvas.picture;
        const cv::Mat copy = held.clone();
        canvas.picture = growCanvas(held, borders, &canvas.painted, nullptr);
        EXPECT_EQ(canvas.picture.rows, held.rows + borders.top + borders.bottom);
        EXPECT_EQ(canvas.picture.cols, held.cols + borders.left + borders.right);
        EXPECT_TRUE(samePixels(held, copy));
        EXPECT_TRUE(
            samePixels(canvas.picture(cv::Rect(borders.left, borders.top, held.cols, held.rows)), copy));
        EXPECT_TRUE(canvas.isBlackBesidePainted());
    }
}

#ifdef __linux__  // Windows counts all of it against its commit limit

TEST(GrowCanvas, StaysInPlaceBeyondTwoToThe31PixelsAndBytes) {
    constexpr std::int32_t side = 6000;
    constexpr std::int32_t wide = 400000;
    PaintedRows painted(side);
    cv::Mat canvas = blackCanvas(side, side, CV_8UC3);
    canvas.at<cv::Vec3b>(side - 1, side - 1) = {1, 2, 3};
    painted.add({side - 1, side, side - 1, side});
    canvas = growCanvas(canvas, {0, 0, 0, wide}, &painted, nullptr);
    ASSERT_EQ(canvas.size(), cv::Size(side + wide, side));
    canvas.at<cv::Vec3b>(side - 1, side + wide - 1) = {4, 5, 6};
    painted.add({side - 1, side, side + wide - 1, side + wide});
    canvas = growCanvas(canvas, {0, 0, wide, 0}, &painted, nullptr);
    ASSERT_EQ(canvas.size(), cv::Size(side + 2 * wide, side));
    EXPECT_EQ(canvas.at<cv::Vec3b>(side - 1, wide + side - 1), cv::Vec3b(1, 2, 3));
    EXPECT_EQ(canvas.at<cv::Vec3b>(side - 1, side + 2 * wide - 1), cv::Vec3b(4, 5, 6));
    EXPECT_EQ(canvas.at<cv::Vec3b>(0, 0), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(canvas.at<cv::Vec3b>(side - 1, wide + side), cv::Vec3b(0, 0, 0));
}

#endif

}  // namespace
}  // namespace brantel::test
