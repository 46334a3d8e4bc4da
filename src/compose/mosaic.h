// The mosaic as it stands between two frames: canvas, bounds, record and template.
#pragma once

#include <brantel/brantel.h>

#include <algorithm>

#include "common/log.h"
#include "common/types.h"
#include "compose/canvas.h"
#include "compose/painted.h"
#include "compose/regions.h"

namespace brantel {

/// What the next frame is registered against.
enum class TemplateState {
    none,       ///< nothing: no frame of this mosaic was accepted yet
    first,      ///< the first frame of the mosaic that the present call begins
    unplaced,   ///< an accepted frame that the canvas does not hold at the record's position
    placed,     ///< an accepted frame that the canvas holds at the record's position
    described,  ///< the same, and its corners and descriptors are known
};

struct Mosaic {
    cv::Mat canvas;
    CornerPoint minimum{};  // the rectangle of all placed frames
    CornerPoint maximum{};
    PaintedRows painted;  // of the canvas; unlike the rectangle above it knows no exceptions
    StitchFlags record{};
    TemplateState templateState = TemplateState::none;

    CornerPoint position() const { return {record.frameX, record.frameY}; }
    Offset offset() const { return {record.offset.x, record.offset.y}; }
};

/// Replaces every zero sample of a frame by 1: on the canvas 0 means "empty".
void fillZeroSamples(std::uint8_t* frame, std::int64_t bytes);

/// A new black canvas with the frame at its centre, which becomes the template of the call. False, with
/// "willSmallImgToBigImgAssignRowCol failed", when the frame cannot be pasted; throws when memory runs out,
/// the mosaic is then unchanged.
bool startMosaic(const Log& log, Mosaic& mosaic, const std::uint8_t* frame, const ImageDesc& size);

/// A frame's rectangle of the canvas.
struct CanvasWindow {
    std::uint8_t* pixels;
    std::int64_t stride;        // bytes from row to row
    const ColumnSpan* painted;  // for each row: columns in which the canvas may hold anything
    std::int32_t firstColumn;   // of the window, counted as those are

    /// Those columns of a row, counted from the window's first one of so many.
    ColumnSpan paintedIn(std::int64_t row, std::int32_t cols) const {
        const ColumnSpan onCanvas = painted[row];
        if (onCanvas.isEmpty()) return {0, 0};
        return {std::clamp(onCanvas.first - firstColumn, 0, cols),
                std::clamp(onCanvas.last - firstColumn, 0, cols)};
    }
};

/// Merges a frame at the previous position + offset: grows the canvas, lets blend(window) write the blended
/// frame into its rectangle, moves position and bounds; the blended frame is the template now. False when the
/// rectangle leaves the canvas or blend fails; throws when memory runs out or blend throws. The mosaic is
/// unchanged in all these cases. Idle workers help when the canvas grows; may be null.
template <class Blend>
bool mergeInPlace(Mosaic& mosaic, const ImageDesc& size, WorkerPair* workers, Blend&& blend) {
    Placement placement{mosaic.position(), mosaic.minimum, mosaic.maximum};
    const Offset offset = mosaic.offset();
    PaintedRows painted = mosaic.painted;
    const cv::Mat merged = growCanvasForFrame(mosaic.canvas, size.rows, size.cols, offset, size.rows,
                                              size.cols, &placement, &painted, workers);
    const CornerPoint at{placement.position.x + offset.x, placement.position.y + offset.y};
    if (at.x < 0 || at.y < 0 || at.x > merged.cols - size.cols || at.y > merged.rows - size.rows)
        return false;
    if (!blend(CanvasWindow{const_cast<std::uint8_t*>(merged.ptr(at.y, at.x)),
                            static_cast<std::int64_t>(merged.step[0]), painted.from(at.y),
                            at.x + painted.left()}))
        return false;

    painted.add({at.y, at.y + size.rows, at.x, at.x + size.cols});
    mosaic.painted = painted;
    mosaic.record.frameX = at.x;
    mosaic.record.frameY = at.y;
    extendMosaicBounds(placement.minimum, placement.maximum, size.rows, size.cols, at, &mosaic.minimum,
                       &mosaic.maximum);
    mosaic.canvas = merged;
    mosaic.templateState = TemplateState::placed;
    return true;
}

/// The same for blends that work on a packed copy: cuts the rectangle into patch and pastes the blended frame
/// that fuse(patch) returns; null fails.
template <class Fuse>
bool mergeFrame(const Log& log, Mosaic& mosaic, const ImageDesc& size, std::uint8_t* patch, Fuse&& fuse) {
    return mergeInPlace(mosaic, size, nullptr, [&](const CanvasWindow& window) {
        const auto canvasCols = static_cast<std::int32_t>(window.stride / size.channels);
        const Region all{0, size.rows, 0, size.cols};
        ImageDesc cut{};
        cropImageRegion(log, window.pixels, all, size.rows, canvasCols, size.channels, &cut, patch);
        const std::uint8_t* blended = fuse(patch);
        if (blended == nullptr) return false;
        pasteImageRegion(log, blended, size.cols, all, size.rows, canvasCols, size.channels, window.pixels);
        return true;
    });
}

}  // namespace brantel
