// What the acceptance test of the current frame is made on, with the pixel work on the device.
#include <stdexcept>

#include "compose/acceptance.h"
#include "compose/brightness.h"
#include "cuda/current_device.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"
#include "gpu/zero_sum.h"
#include "simd/level.h"

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

/// Where a side's page-locked memory holds its cut and the cut's grey image.
struct HostCut {
    std::uint8_t* grey;
    std::uint8_t* colour;

    HostCut(CudaSide& side, const ImageDesc& frame)
        : grey(side.arena.begin<std::uint8_t>(Phase::acceptance)), colour(grey + frame.pixels()) {}
};

/// The grey image of a cut, on the device and on the host.
void makeGrey(const OverlapSide& cut, const ImageDesc& part, const HostCut& host) {
    if (part.pixels() < 1) return;
    if (part.channels > 1) {
        toDevice(cut.colour, host.colour, part.bytes());
        launchOver(part.rows, part.cols, rgb2GaryKernel, cut.colour.data(), part.rows, part.cols,
                   cut.grey.data());
    } else {
        toDevice(cut.grey, host.colour, part.bytes());
    }
    toHost(host.grey, cut.grey, part.pixels());
}

bool isFiltered(const ImageDesc& part) {
    return part.rows > smoothBorder && part.cols > smoothBorder;
}

/// Smooths a cut's grey image 3 x 3, in the same places.
void smoothCut(const OverlapSide& cut, const ImageDesc& part) {
    if (!isFiltered(part)) return;
    const std::int32_t rows = part.rows;
    const std::int32_t cols = part.cols;
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
    *motionMeasure = simd::sumKernels().sumOfBytes(differences, frame.pixels()) / frame.pixels();
    return true;
}

bool CudaEngine::measureBrightness() {
    const HostCut canvas(previousSide, frame);
    const HostCut current(currentSide, frame);
    const OverlapParts parts =
        cutOverlap(log, mosaic, stagedCurrent.data(), frame, canvas.colour, current.colour);
    makeGrey(overlapPrevious, parts.canvas, canvas);
    makeGrey(overlapCurrent, parts.frame, current);
    recordBrightness(mosaic.record, GreyPart::whole(canvas.grey, parts.canvas.rows, parts.canvas.cols),
                     GreyPart::whole(current.grey, parts.frame.rows, parts.frame.cols), &workers);
    smoothCut(overlapPrevious, parts.canvas);
    smoothCut(overlapCurrent, parts.frame);
    // A second initialisation may change the main mode: the motion test then finds the first frame as the last seen.
    if (begins()) onDevice(lastFrame, previousSide.frame, frame.bytes());
    beginZeroSum(parts);
    return true;
}

/// Lets a worker fetch the smoothed cuts and filter them. Nobody waits for that before the canvas is written, or the call
/// is over. Until then currentSide's page-locked memory is the worker's.
void CudaEngine::beginZeroSum(const OverlapParts& parts) {
    currentSide.arena.begin(Phase::acceptance);
    zeroSum_.parts = parts;
    zeroSum_.running = workers.match.request(Job::of(zeroSum_));
    if (!zeroSum_.running) filterOverlap();
}

void CudaEngine::filterOverlap() {
    const OnMosaicDevice device;
    device.require();
    auto* smoothed = currentSide.arena.within<std::uint8_t>(Phase::acceptance);
    const auto filter = [&](OverlapSide& cut, const ImageDesc& part) {
        if (!isFiltered(part)) return;
        toHost(smoothed, cut.grey, part.pixels());
        zeroSumImage(log, smoothed, part.rows, part.cols, cut.zeroSum);
    };
    filter(overlapPrevious, zeroSum_.parts.canvas);
    filter(overlapCurrent, zeroSum_.parts.frame);
}

/// False when the worker failed, which has been told.
bool CudaEngine::finishZeroSum() {
    const bool running = zeroSum_.running;
    zeroSum_.running = false;
    return !running || workers.match.wait();
}

void CudaEngine::requireZeroSum() {
    if (!finishZeroSum()) throw std::runtime_error("no zero-sum images");
}

/// A frame that fails its test is not merged: nothing else is left to be done for it.
bool CudaEngine::judge() {
    const bool judged = Engine::judge();
    if (mosaic.record.stitch_flags != 1) requireZeroSum();
    return judged;
}

}  // namespace brantel
