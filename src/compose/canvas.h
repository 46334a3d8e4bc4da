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

/// Returns the canvas, enlarged by a black border where the frame needs it, and moves the placement along:
/// the result of cv::copyMakeBorder with a constant border of 0. A canvas that is large enough is returned as
/// the same header. Throws when memory runs out; placement is then unchanged.
///
/// @param painted  where the canvas may hold anything; the rest is not copied. Moves along.
/// @param workers  idle workers that lend a hand; may be null
cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement,
                           PaintedRows* painted, WorkerPair* workers);
/// The same for a canvas that may be painted anywhere.
cv::Mat growCanvasForFrame(const cv::Mat& canvas, std::int32_t growRows, std::int32_t growCols, Offset offset,
                           std::int32_t frameRows, std::int32_t frameCols, Placement* placement);

}  // namespace brantel
