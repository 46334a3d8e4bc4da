#include "compose/canvas.h"

#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "common/crew.h"
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
    static const BlackAllocator& allocator =
        *new BlackAllocator;  // canvases in the host's hands outlive everything
    const std::size_t bytes =
        static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols) * CV_ELEM_SIZE(type);
    auto memory = std::make_unique<cv::UMatData>(&allocator);
    void* pixels = platform::allocateZeroPages(bytes);
    if (pixels == nullptr) throw std::bad_alloc();
    memory->data = memory->origdata = static_cast<uchar*>(pixels);
    memory->size = bytes;
    memory->refcount = 1;
    // Put together by hand: cv::Mat::create would fall back to memory that is not black when pages run out.
    cv::Mat canvas(rows, cols, type, pixels);
    canvas.u = memory.release();
    return canvas;
}

cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement,
                           PaintedRows* painted, WorkerPair* workers) {
    const CanvasBorders borders = bordersForFrame(growRows, growCols, placement->position, offset, frameRows,
                                                  frameCols, canvas.rows, canvas.cols);
    if (borders.none()) return canvas;
    const std::int64_t rows = std::int64_t{canvas.rows} + borders.top + borders.bottom;
    const std::int64_t cols = std::int64_t{canvas.cols} + borders.left + borders.right;
    requireSide(rows);
    requireSide(cols);
    PaintedRows moved = painted->moved(static_cast<std::int32_t>(rows), borders.top, borders.left);
    cv::Mat grown =
        blackCanvas(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols), canvas.type());
    const ColumnSpan* spans = painted->from(0);
    shareLoop(workers, canvas.rows, copyGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
        for (auto r = static_cast<int>(first); r < last; ++r) {
            const ColumnSpan& span = spans[r];
            if (span.isEmpty()) continue;
            const auto column = static_cast<int>(span.first);
            std::memcpy(grown.ptr(r + borders.top, column + borders.left), canvas.ptr(r, column),
                        static_cast<std::size_t>(span.length()) * canvas.elemSize());
        }
    });
    for (CornerPoint* point : {&placement->position, &placement->minimum, &placement->maximum}) {
        point->x += borders.left;
        point->y += borders.top;
    }
    *painted = moved;
    return grown;
}

cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement) {
    PaintedRows anywhere = PaintedRows::everywhere(canvas.rows, canvas.cols);
    return growCanvasForFrame(canvas, growRows, growCols, offset, frameRows, frameCols, placement, &anywhere,
                              nullptr);
}

}  // namespace brantel
