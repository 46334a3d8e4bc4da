#include "compose/canvas.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "common/parallel_for.h"
#include "platform/platform.h"

namespace brantel {

namespace {

constexpr std::int32_t usualSide = 6000;
constexpr std::int32_t extraForLargeFrames = 2000;
constexpr std::int32_t margin = 1;
constexpr std::int64_t copyGrain = 64;  // rows handed out at a time

/// Growth before and after along one axis.
void growAxis(std::int32_t amount, std::int64_t start, std::int32_t length, std::int32_t side,
              std::int32_t* before, std::int32_t* after) {
    *before = start < margin ? amount : 0;
    *after = start >= margin && start + length > std::int64_t{side} - margin ? amount : 0;
}

void requireSide(std::int64_t side) {
    if (side > std::numeric_limits<std::int32_t>::max()) throw std::length_error("canvas too large");
}

/// Gives the memory of canvases back to the system, whoever held them last.
class BlackAllocator : public cv::MatAllocator {
  public:
    void deallocate(cv::UMatData* data) const override {
        if (data == nullptr) return;
        platform::freeZeroPages(data->origdata, data->size);
        data->origdata = nullptr;
        delete data;
    }
    // A canvas is never reallocated in place; these only complete the interface.
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag access, cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, access, usage);
    }
    bool allocate(cv::UMatData* data, cv::AccessFlag access, cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(data, access, usage);
    }
};

/// A black canvas, empty when the system has no room for it.
cv::Mat tryBlackCanvas(std::int32_t rows, std::int32_t cols, std::int32_t type) {
    static const BlackAllocator& allocator =
        *new BlackAllocator;  // canvases that hosts hold outlive everything
    const std::size_t bytes =
        static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols) * CV_ELEM_SIZE(type);
    auto memory = std::make_unique<cv::UMatData>(&allocator);
    void* pixels = platform::allocateZeroPages(bytes);
    if (pixels == nullptr) return {};
    memory->data = memory->origdata = static_cast<uchar*>(pixels);
    memory->size = bytes;
    memory->refcount = 1;
    // Put together by hand: cv::Mat::create would fall back to memory that is not black when pages run out.
    cv::Mat canvas(rows, cols, type, pixels);
    canvas.u = memory.release();
    return canvas;
}

/// Where a canvas lies in the memory that it is a view into.
struct SpareRoom {
    cv::Size whole;
    cv::Point at;

    explicit SpareRoom(const cv::Mat& canvas) { canvas.locateROI(whole, at); }

    CanvasBorders around(const cv::Mat& canvas) const {
        return {at.y, whole.height - at.y - canvas.rows, at.x, whole.width - at.x - canvas.cols};
    }
};

/// The canvas with these borders, as a larger view into its memory; null when that has no room for them.
cv::Mat grownInPlace(const cv::Mat& canvas, const CanvasBorders& borders) {
    const CanvasBorders spare = SpareRoom(canvas).around(canvas);
    if (borders.top > spare.top || borders.bottom > spare.bottom || borders.left > spare.left ||
        borders.right > spare.right)
        return {};
    cv::Mat grown = canvas;
    return grown.adjustROI(borders.top, borders.bottom, borders.left, borders.right);
}

/// Room to be left beyond a border: as much as the canvas is long, and much more as long as lists of rows stay moderate.
std::int32_t spareBeyond(std::int32_t length) {
    constexpr std::int32_t moderate = 1 << 22;
    return std::max(length, moderate);
}

/// The same around a canvas that is to grow by these borders: on the sides where it grows now or has grown before, since
/// a camera that goes on in two directions uses up both.
CanvasBorders spareFor(const cv::Mat& canvas, const CanvasBorders& borders) {
    const CanvasBorders there = SpareRoom(canvas).around(canvas);
    const auto spare = [](std::int32_t border, std::int32_t room, std::int32_t length) {
        return border > 0 || room > 0 ? spareBeyond(length) : 0;
    };
    return {spare(borders.top, there.top, canvas.rows), spare(borders.bottom, there.bottom, canvas.rows),
            spare(borders.left, there.left, canvas.cols), spare(borders.right, there.right, canvas.cols)};
}

/// A black canvas of rows x cols with spare room around it: as much as wanted, or half of it, or a quarter and so on,
/// whichever the system gives first. Without any it has exactly its own pixels. Throws when not even that can be had.
cv::Mat blackCanvasWithSpare(std::int32_t rows, std::int32_t cols, std::int32_t type, CanvasBorders spare) {
    constexpr std::int64_t longestSide = std::numeric_limits<std::int32_t>::max();
    const std::int64_t elementBytes = CV_ELEM_SIZE(type);
    const std::int64_t most = platform::largestReservation(elementBytes * rows * cols) / elementBytes;
    for (; !spare.none(); spare = spare.half()) {
        const std::int64_t wholeRows = std::int64_t{rows} + spare.top + spare.bottom;
        const std::int64_t wholeCols = std::int64_t{cols} + spare.left + spare.right;
        if (wholeRows > longestSide || wholeCols > longestSide || wholeRows * wholeCols > most) continue;
        const cv::Mat whole =
            tryBlackCanvas(static_cast<std::int32_t>(wholeRows), static_cast<std::int32_t>(wholeCols), type);
        if (!whole.empty()) return whole(cv::Rect(spare.left, spare.top, cols, rows));
    }
    return blackCanvas(rows, cols, type);
}

/// Copies what is painted on the canvas to (left, top) of a black one.
void copyPainted(const cv::Mat& canvas, const PaintedRows& painted, const cv::Mat& to, std::int32_t top,
                 std::int32_t left, WorkerPair* workers) {
    const ColumnSpan* spans = painted.from(0);
    parallelFor(workers, canvas.rows, copyGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
        for (auto r = static_cast<int>(first); r < last; ++r) {
            const ColumnSpan& span = spans[r];
            if (span.isEmpty()) continue;
            const std::int32_t column = span.first - painted.left();
            std::memcpy(const_cast<uchar*>(to.ptr(r + top, column + left)), canvas.ptr(r, column),
                        static_cast<std::size_t>(span.length()) * canvas.elemSize());
        }
    });
}

/// The same for borders that the canvas's memory has no room for.
cv::Mat grownByCopy(const cv::Mat& canvas, const CanvasBorders& borders, PaintedRows* painted,
                    WorkerPair* workers) {
    const std::int64_t rows = std::int64_t{canvas.rows} + borders.top + borders.bottom;
    const std::int64_t cols = std::int64_t{canvas.cols} + borders.left + borders.right;
    requireSide(rows);
    requireSide(cols);
    cv::Mat grown = blackCanvasWithSpare(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols),
                                         canvas.type(), spareFor(canvas, borders));
    const SpareRoom room(grown);
    PaintedRows moved(room.whole.height, room.at.y, room.at.x);
    moved.take(*painted, canvas.rows, borders.top, borders.left);
    copyPainted(canvas, *painted, grown, borders.top, borders.left, workers);
    *painted = moved;
    return grown;
}

}  // namespace

std::int32_t newCanvasSide(std::int32_t frameSide) {
    if (frameSide <= usualSide) return usualSide;
    requireSide(std::int64_t{frameSide} + extraForLargeFrames);
    return frameSide + extraForLargeFrames;
}

CanvasBorders bordersForFrame(std::int32_t growRows, std::int32_t growCols, CornerPoint position,
                              Offset offset, std::int32_t frameRows, std::int32_t frameCols,
                              std::int32_t canvasRows, std::int32_t canvasCols) {
    CanvasBorders borders{};
    growAxis(growRows, std::int64_t{position.y} + offset.y, frameRows, canvasRows, &borders.top,
             &borders.bottom);
    growAxis(growCols, std::int64_t{position.x} + offset.x, frameCols, canvasCols, &borders.left,
             &borders.right);
    return borders;
}

cv::Mat blackCanvas(std::int32_t rows, std::int32_t cols, std::int32_t type) {
    cv::Mat canvas = tryBlackCanvas(rows, cols, type);
    if (canvas.empty()) throw std::bad_alloc();
    return canvas;
}

cv::Mat growCanvas(const cv::Mat& canvas, const CanvasBorders& borders, PaintedRows* painted,
                   WorkerPair* workers) {
    if (borders.none()) return canvas;
    cv::Mat grown = grownInPlace(canvas, borders);
    if (grown.empty()) return grownByCopy(canvas, borders, painted, workers);
    *painted = painted->grown(borders.top, borders.left);
    return grown;
}

cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement,
                           PaintedRows* painted, WorkerPair* workers) {
    const CanvasBorders borders = bordersForFrame(growRows, growCols, placement->position, offset, frameRows,
                                                  frameCols, canvas.rows, canvas.cols);
    cv::Mat grown = growCanvas(canvas, borders, painted, workers);
    for (CornerPoint* point : {&placement->position, &placement->minimum, &placement->maximum}) {
        point->x += borders.left;
        point->y += borders.top;
    }
    return grown;
}

}  // namespace brantel
