// The mosaic as a whole, and what all backends do with it in the same way.
#pragma once

#include <brantel/brantel.h>

#include "common/guard.h"
#include "common/log.h"
#include "common/stitch_call.h"
#include "compose/canvas.h"
#include "compose/painted.h"
#include "compose/regions.h"

namespace brantel {

struct Mosaic {
    cv::Mat canvas;
    CornerPoint minimum{};  // the rectangle of all placed frames
    CornerPoint maximum{};
    PaintedRows painted;  // of the canvas; unlike the rectangle above it knows no exceptions
    StitchFlags record{};
    bool hasTemplate = false;       // a frame was accepted; until then there is nothing to register against
    bool templateOnCanvas = false;  // the canvas holds the template (or first frame) at the record's position

    CornerPoint position() const { return {record.frameX, record.frameY}; }
    Offset offset() const { return {record.offset.x, record.offset.y}; }
};

/// Working size and channels of the frames.
struct FrameSize {
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t channels;

    std::int64_t pixels() const { return std::int64_t{rows} * cols; }
    std::int64_t bytes() const { return pixels() * channels; }
};

/// Puts a mosaic back as it was when a call breaks off (no memory, a worker that broke down), so that the
/// host may go on with it. Canvas pixels are not covered: they may only be written once nothing can fail any
/// more.
class MosaicBackup {
  public:
    explicit MosaicBackup(Mosaic& mosaic) : mosaic_(mosaic), before_(mosaic) {}
    MosaicBackup(const MosaicBackup&) = delete;
    MosaicBackup& operator=(const MosaicBackup&) = delete;
    ~MosaicBackup() {
        if (!kept_) mosaic_ = before_;
    }
    /// The call came to an end of its own: what it did stays.
    void keepChanges() { kept_ = true; }

  private:
    Mosaic& mosaic_;
    const Mosaic before_;
    bool kept_ = false;
};

/// True when frames of this kind can be stitched: positive sizes, 1 or 3 channels, and a new canvas whose
/// area fits into the signed 32-bit numbers of the interface. Else a line on standard output says why;
/// nothing is allocated first, since memory that is promised but not there ends the host's process.
bool framesAreUsable(const FrameSetup& setup);

/// Replaces every zero sample of a frame by 1: on the canvas 0 means "empty".
void fillZeroSamples(std::uint8_t* frame, std::int64_t bytes);

/// Brings a host's frame to working size. A reduced frame fills the front, the rest stays black.
void takeFrame(std::uint8_t* to, const std::uint8_t* from, std::int32_t scale, const FrameSize& size);

/// A new black canvas with the frame at its centre. False, with "willSmallImgToBigImgAssignRowCol failed",
/// when the frame cannot be pasted; throws when memory runs out, the mosaic is then unchanged.
bool startMosaic(Mosaic& mosaic, const std::uint8_t* frame, const FrameSize& size);

/// True when there is a canvas that frames of this kind can be merged into.
bool holdsFramesOf(const Mosaic& mosaic, const FrameSize& size);

/// The larger component of the record's offset if the frame may be merged: more than a tenth and less than
/// nine tenths of the frame's side in that direction, and more than 10 matches; else -1.
std::int32_t mergeableShift(const StitchFlags& record, std::int32_t rows, std::int32_t cols);

/// A frame's rectangle of the canvas.
struct CanvasWindow {
    std::uint8_t* pixels;
    std::int64_t stride;        // bytes from row to row
    const ColumnSpan* painted;  // for each row: columns of the canvas in which it may hold anything
    std::int32_t firstColumn;   // of the window on the canvas
};

/// Merges a frame at the previous position + offset: grows the canvas, lets blend(window) write the blended
/// frame into its rectangle, moves position and bounds. False when the rectangle leaves the canvas or blend
/// fails; throws when memory runs out or blend throws. The mosaic is unchanged in all these cases.
/// Idle workers lend a hand when the canvas grows; may be null.
template <class Blend>
bool mergeInPlace(Mosaic& mosaic, const FrameSize& size, WorkerPair* workers, Blend&& blend) {
    Placement placement{mosaic.position(), mosaic.minimum, mosaic.maximum};
    const Offset offset = mosaic.offset();
    PaintedRows painted = mosaic.painted;
    const cv::Mat merged = growCanvasForFrame(mosaic.canvas, size.rows, size.cols, offset, size.rows,
                                              size.cols, &placement, &painted, workers);
    const CornerPoint at{placement.position.x + offset.x, placement.position.y + offset.y};
    if (at.x < 0 || at.y < 0 || at.x > merged.cols - size.cols || at.y > merged.rows - size.rows)
        return false;
    if (!blend(CanvasWindow{const_cast<std::uint8_t*>(merged.ptr(at.y, at.x)),
                            static_cast<std::int64_t>(merged.step[0]), painted.from(at.y), at.x}))
        return false;

    painted.add({at.y, at.y + size.rows, at.x, at.x + size.cols});
    mosaic.painted = painted;
    mosaic.record.frameX = at.x;
    mosaic.record.frameY = at.y;
    extendMosaicBounds(placement.minimum, placement.maximum, size.rows, size.cols, at, &mosaic.minimum,
                       &mosaic.maximum);
    mosaic.canvas = merged;
    return true;
}

/// The same for blends that work on a packed copy: cuts the rectangle into patch and pastes the blended frame
/// that fuse(patch) returns; null fails.
template <class Fuse>
bool mergeFrame(Mosaic& mosaic, const FrameSize& size, std::uint8_t* patch, Fuse&& fuse) {
    return mergeInPlace(mosaic, size, nullptr, [&](const CanvasWindow& window) {
        const auto canvasCols = static_cast<std::int32_t>(window.stride / size.channels);
        const Region all{0, size.rows, 0, size.cols};
        ImageDesc cut{};
        cropImageRegion(window.pixels, all, size.rows, canvasCols, size.channels, &cut, patch);
        const std::uint8_t* blended = fuse(patch);
        if (blended == nullptr) return false;
        pasteImageRegion(blended, size.cols, all, size.rows, canvasCols, size.channels, window.pixels);
        return true;
    });
}

/// What follows a successful offset stage: a frame that passed its test and shifted suitably is merged by
/// merge(), one that shifted too little or too far leaves the old template in place by keepTemplate(). A
/// frame that failed its test changes nothing. False when merging failed.
template <class Merge, class Keep>
bool mergeIfSuitable(const Mosaic& mosaic, const FrameSize& size, Merge&& merge, Keep&& keepTemplate) {
    if (mosaic.record.stitch_flags != 1) return true;
    const std::int32_t shift = mergeableShift(mosaic.record, size.rows, size.cols);
    if (shift < 0) {
        keepTemplate();
        return true;
    }
    if (!merge()) return false;
    streamLine("kkkkkkkkkkkkkkkkkkkkkkk", shift);
    return true;
}

/// Hands canvas, bounds and record to the caller; null pointers are skipped.
void writeOutputs(const Mosaic& mosaic, const StitchCall& call);

/// 1 when the canvas area has reached limitA * limitB, else 0. Both products are signed 32-bit and wrap.
std::int32_t areaResult(const cv::Mat& canvas, std::int32_t limitA, std::int32_t limitB);

/// Runs a backend's stitching of one frame and answers the caller: outputs on every result, -1 for false and
/// for an exception, which ends here with a line on standard output.
template <class Stitch>
std::int32_t answerStitchCall(const StitchCall& call, const Mosaic& mosaic, std::int32_t limitA,
                              std::int32_t limitB, Stitch&& stitch) {
    if (call.currentFrame == nullptr)
        streamLine("thedestImage is NULL");  // and on: the offset stage refuses it
    const bool done = succeeds("stichingImagedJoint", stitch);
    writeOutputs(mosaic, call);
    return done ? areaResult(mosaic.canvas, limitA, limitB) : -1;
}

}  // namespace brantel
