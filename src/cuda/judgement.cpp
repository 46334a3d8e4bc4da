// Is a frame fit to be merged? The two tests, with the pixel work on the device.
#include "compose/judgement.h"

#include "compose/overlap.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "cuda/zero_sum.h"
#include "gpu/kernels.h"

namespace brantel {

namespace {

constexpr std::int32_t blurBorder = 2;
constexpr std::int32_t smoothBorder = 1;

/// Grey image of a frame, blurred 5 x 5. Frames that were registered are larger than the border.
void blurredGrey(const CudaBackend& cuda, const DeviceBuffer<std::uint8_t>& colour, const MotionSide& side) {
    const std::int32_t rows = cuda.frame.rows;
    const std::int32_t cols = cuda.frame.cols;
    const std::int32_t paddedRows = rows + 2 * blurBorder;
    const std::int32_t paddedCols = cols + 2 * blurBorder;
    std::uint8_t* image = colour.data();
    std::uint8_t* a = side.paddedA.data();
    std::uint8_t* b = side.paddedB.data();
    if (cuda.frame.channels > 1) {
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

/// Mean absolute difference of the last and the current frame, truncated.
std::int64_t motionMeasure(const CudaBackend& cuda, const DeviceBuffer<std::uint8_t>& lastSeen) {
    blurredGrey(cuda, lastSeen, cuda.motionPrevious);
    blurredGrey(cuda, cuda.match.frame, cuda.motionCurrent);
    launchOver(cuda.frame.rows, cuda.frame.cols, absCalcKernel, cuda.motionPrevious.grey.data(),
               cuda.motionCurrent.grey.data(), cuda.frame.rows, cuda.frame.cols);
    // The page-locked maps are free between registration and blending.
    auto* differences = reinterpret_cast<std::uint8_t*>(cuda.model.hostMap.data());
    toHost(differences, cuda.motionPrevious.grey, cuda.frame.pixels());
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < cuda.frame.pixels(); ++i) sum += differences[i];
    return sum / cuda.frame.pixels();
}

/// Grey image of a cut, on the device and in a page-locked map of the host.
const std::uint8_t* greyOfCut(const OverlapSide& side, const ImageDesc& part,
                              const PageLockedBuffer<float>& map) {
    auto* grey = reinterpret_cast<std::uint8_t*>(map.data());
    if (part.pixels() < 1) return grey;
    if (part.channels > 1) {
        toDevice(side.colour, side.cut.data(), part.bytes());
        launchOver(part.rows, part.cols, rgb2GaryKernel, side.colour.data(), part.rows, part.cols,
                   side.grey.data());
    } else {
        toDevice(side.grey, side.cut.data(), part.bytes());
    }
    toHost(grey, side.grey, part.pixels());
    return grey;
}

/// Smooths a cut's grey image 3 x 3 and leaves the zero-sum filter's answer to it in the side.
void filterCut(OverlapSide& side, const ImageDesc& part, const PageLockedBuffer<float>& map) {
    const std::int32_t rows = part.rows;
    const std::int32_t cols = part.cols;
    if (rows <= smoothBorder || cols <= smoothBorder) return;
    const std::int32_t paddedRows = rows + 2 * smoothBorder;
    const std::int32_t paddedCols = cols + 2 * smoothBorder;
    std::uint8_t* a = side.padded.data();
    std::uint8_t* b = side.smoothed.data();
    launchOver(paddedRows, cols, opencvcopyFilter2DBorderRowUhcarMode, side.grey.data(), rows, cols,
               smoothBorder, a, b);
    launchColumnPass(paddedRows, smoothBorder, opencvcopyFilter2DBorderColUcharMode, a, paddedRows, cols,
                     smoothBorder, a, b);
    launchOver(rows, cols, opencvfilter2DCalcCharWin3Kernel, a, paddedRows, paddedCols, b);
    launchOver(rows, cols, opencvcopyFilter2DTakeOutBoundUchar, b, rows, cols, smoothBorder,
               side.grey.data());
    auto* smoothed = reinterpret_cast<std::uint8_t*>(map.data());
    toHost(smoothed, side.grey, part.pixels());
    zeroSumImage(smoothed, rows, cols, side.zeroSum);
}

}  // namespace

void judgeByMotion(CudaBackend& cuda, const DeviceBuffer<std::uint8_t>& lastSeen) {
    judgeMotion(cuda.mosaic.record, stitchModes(), motionMeasure(cuda, lastSeen));
}

void judgeByBrightness(CudaBackend& cuda) {
    const OverlapParts parts = cutOverlap(cuda.mosaic, cuda.staging[0].data(), cuda.frame,
                                          cuda.overlapPrevious.cut, cuda.overlapCurrent.cut);
    const std::uint8_t* canvas = greyOfCut(cuda.overlapPrevious, parts.canvas, cuda.model.hostMap);
    const std::uint8_t* frame = greyOfCut(cuda.overlapCurrent, parts.frame, cuda.match.hostMap);
    recordBrightness(cuda.mosaic.record, GreyPart::whole(canvas, parts.canvas.rows, parts.canvas.cols),
                     GreyPart::whole(frame, parts.frame.rows, parts.frame.cols), &cuda.workers);
    filterCut(cuda.overlapPrevious, parts.canvas, cuda.model.hostMap);
    filterCut(cuda.overlapCurrent, parts.frame, cuda.match.hostMap);
    judgeBrightness(cuda.mosaic.record, stitchModes(), cuda.frame.rows, cuda.frame.cols);
}

}  // namespace brantel
