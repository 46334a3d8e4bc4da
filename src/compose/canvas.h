// The mosaic canvas: creating it and growing it.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>

#include "common/types.h"
#include "common/worker_pair.h"
#include "compose/painted.h"

namespace brantel {

/// Where a frame lies on a canvas, and the rectangle of all frames (maximum exclusive).
struct Placement {
    CornerPoint position;  // top-left pixel of the previous frame
    CornerPoint minimum;
    CornerPoint maximum;
};

/// Side of a new canvas: 6000, or 2000 more than a frame that is longer than that.
std::int32_t newCanvasSide(std::int32_t frameSide);

/// Rows and columns to be added around a canvas.
struct CanvasBorders {
    std::int32_t top;
    std::int32_t bottom;
    std::int32_t left;
    std::int32_t right;

    bool none() const { return top == 0 && bottom == 0 && left == 0 && right == 0; }
    CanvasBorders half() const { return {top / 2, bottom / 2, left / 2, right / 2}; }
};

/// What is missing for a frame of frameRows x frameCols at position + offset with a margin of 1 pixel. Growth
/// is by a fixed amount per side, once. A frame that sticks out at the top (left) is not tested at the bottom
/// (right).
CanvasBorders bordersForFrame(std::int32_t growRows, std::int32_t growCols, CornerPoint position,
                              Offset offset, std::int32_t frameRows, std::int32_t frameCols,
                              std::int32_t canvasRows, std::int32_t canvasCols);

/// A black canvas (CV_8UC1 or CV_8UC3, tightly packed) whose memory the system provides page by page as it is
/// written to: an empty canvas costs next to nothing. Throws when there is not enough.
cv::Mat blackCanvas(std::int32_t rows, std::int32_t cols, std::int32_t type);

/// Returns the canvas, enlarged by black borders: the pixels of cv::copyMakeBorder with a constant border of 0. Without
/// borders the same header is returned. Throws when memory runs out; painted is then unchanged.
///
/// The canvas is a view into a larger piece of memory that has spare room on the sides where it grew, several times as
/// long as the canvas and untouched, so that it costs address space only; a canvas that still fits grows as a view, and
/// what is painted is copied so rarely that a scan costs the same per frame however long it is. When the larger piece
/// cannot be had there is no spare room. So after growth to the side the rows of a canvas need not follow each other.
///
/// @param painted  where the canvas may hold anything; the rest is not copied. Moves along.
/// @param workers  idle workers that help; may be null
cv::Mat growCanvas(const cv::Mat& canvas, const CanvasBorders& borders, PaintedRows* painted,
                   WorkerPair* workers);

/// The same with the borders that a frame needs; moves the placement along.
cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement,
                           PaintedRows* painted, WorkerPair* workers);

}  // namespace brantel
