// What the acceptance test of the current frame is made on, with the pixel work on the device.
#include "compose/acceptance.h"
#include "compose/brightness.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"
#include "gpu/zero_sum.h"

namespace brantel {

namespace {

constexpr std::int32_t blurBorder = 2;
constexpr std::int32_t smoothBorder = 1;

/// Grey image of a frame, blurred 5 x 5. Frames that were registered are larger than the border.
void blurredGrey(const ImageDesc& frame, const DeviceBuffer<std::uint8_t>& colour, const MotionSide& side) {
    const std::int32_t rows = frame.rows;
    const std::int32_t cols = frame.cols;
    const std::int32_t paddedRows = rows + 2 * blurBorder;
    const std::int32_t paddedCols = cols + 2 * blurBorder;
    std::uint8_t* image = colour.data();
    std::uint8_t* a = side.paddedA.data();
    std::uint8_t* b = side.paddedB.data();
    if (frame.channels > 1) {
        launchOver(rows, cols, rgb2GaryKernel, image, rows, cols, side.grey.data());
        image = side.grey.data();
    }
    launchOver(paddedRows, cols, opencvcopyFilter2DBorderRowUhcarMode, image, rows, cols, blurBorder, a, b);
    launchColumnPass(paddedRows, blurBorder, opencvcopyFilter2DBorderColUcharMode, a, paddedRows, cols,
                     blurBorder, a, b);
    launchOver(paddedRows - 4, paddedCols, opencvFilter2DRowCalcUcharWin5Mode, a, paddedRows, paddedCols, b);
    launchOver(paddedRows, paddedCols - 4, opencvFilter2DColCalcUcharWin5Mode, b, paddedRows, paddedCols, a);
    launchOver(rows, cols, opencvcopyFilter2DTakeOutBoundUchar, a, rows, cols, blurBorder, side.grey.data());
}

/// Grey image of a cut, on the device and in the page-locked memory of a side.
const std::uint8_t* greyOfCut(const OverlapSide& cut, const ImageDesc& part, CudaSide& side) {
    auto* grey = side.arena.begin<std::uint8_t>(Phase::acceptance);
    if (part.pixels() < 1) return grey;
    if (part.channels > 1) {
        toDevice(cut.colour, cut.cut.data(), part.bytes());
        launchOver(part.rows, part.cols, rgb2GaryKernel, cut.colour.data(), part.rows, part.cols,
                   cut.grey.data());
    } else {
        toDevice(cut.grey, cut.cut.data(), part.bytes());
    }
    toHost(grey, cut.grey, part.pixels());
    return grey;
}

/// Smooths a cut's grey image 3 x 3, in the same places, and keeps the zero-sum filter's answer to it.
void filterCut(const Log& log, OverlapSide& cut, const ImageDesc& part, CudaSide& side) {
    const std::int32_t rows = part.rows;
    const std::int32_t cols = part.cols;
    if (rows <= smoothBorder || cols <= smoothBorder) return;
    const std::int32_t paddedRows = rows + 2 * smoothBorder;
    const std::int32_t paddedCols = cols + 2 * smoothBorder;
    std::uint8_t* a = cut.padded.data();
    std::uint8_t* b = cut.smoothed.data();
    launchOver(paddedRows, cols, opencvcopyFilter2DBorderRowUhcarMode, cut.grey.data(), rows, cols,
               smoothBorder, a, b);
    launchColumnPass(paddedRows, smoothBorder, opencvcopyFilter2DBorderColUcharMode, a, paddedRows, cols,
                     smoothBorder, a, b);
    launchOver(rows, cols, opencvfilter2DCalcCharWin3Kernel, a, paddedRows, paddedCols, b);
    launchOver(rows, cols, opencvcopyFilter2DTakeOutBoundUchar, b, rows, cols, smoothBorder, cut.grey.data());
    auto* smoothed = side.arena.within<std::uint8_t>(Phase::acceptance);
    toHost(smoothed, cut.grey, part.pixels());
    zeroSumImage(log, smoothed, rows, cols, cut.zeroSum);
}

}  // namespace

/// Mean absolute difference of the last and the current frame, truncated.
bool CudaEngine::measureMotion(std::int64_t* motionMeasure) {
    blurredGrey(frame, begins() ? previousSide.frame : lastFrame, motionPrevious);
    blurredGrey(frame, currentSide.frame, motionCurrent);
    launchOver(frame.rows, frame.cols, absCalcKernel, motionPrevious.grey.data(), motionCurrent.grey.data(),
               frame.rows, frame.cols);
    auto* differences = previousSide.arena.begin<std::uint8_t>(Phase::acceptance);
    toHost(differences, motionPrevious.grey, frame.pixels());
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < frame.pixels(); ++i) sum += differences[i];
    *motionMeasure = sum / frame.pixels();
    return true;
}

bool CudaEngine::measureBrightness() {
    const OverlapParts parts =
        cutOverlap(log, mosaic, stagedCurrent.data(), frame, overlapPrevious.cut, overlapCurrent.cut);
    const std::uint8_t* canvasGrey = greyOfCut(overlapPrevious, parts.canvas, previousSide);
    const std::uint8_t* frameGrey = greyOfCut(overlapCurrent, parts.frame, currentSide);
    recordBrightness(mosaic.record, GreyPart::whole(canvasGrey, parts.canvas.rows, parts.canvas.cols),
                     GreyPart::whole(frameGrey, parts.frame.rows, parts.frame.cols), &workers);
    filterCut(log, overlapPrevious, parts.canvas, previousSide);
    filterCut(log, overlapCurrent, parts.frame, currentSide);
    // A second initialisation may change the main mode: the motion test then finds the first frame as the last seen.
    if (begins()) onDevice(lastFrame, previousSide.frame, frame.bytes());
    return true;
}

}  // namespace brantel
