// The brightness that the acceptance test is made on. The grey images of the overlap and their 3 x 3 smoothing are
// the device's, sums and the zero-sum filter the processor's.
#include "compose/brightness.h"

#include "compose/acceptance.h"
#include "gpu/zero_sum.h"
#include "opencl/run_kernel.h"
#include "opencl/state.h"

namespace brantel {

namespace {

constexpr std::int32_t border = 1;

/// Pads a cut's grey image, smooths it and takes the padding off again.
bool smoothCut(const ClDevice& device, const ImageDesc& part, ClBuffer grey, ClBuffer padded,
               ClBuffer filtered, ClBuffer smoothed) {
    const std::int32_t rows = part.rows;
    const std::int32_t cols = part.cols;
    const Extent around{rows + 2 * border, cols + 2 * border};
    const cl_mem source = device.buffers[grey];
    const cl_mem image = device.buffers[padded];
    const cl_mem result = device.buffers[filtered];
    return runStep(device, ClKernel::opencvcopyFilter2DBorderRowUchar, {around.rows, cols}, source, rows,
                   cols, border, image) &&
           runStep(device, ClKernel::opencvcopyFilter2DBorderColUchar, {around.rows, border}, image,
                   around.rows, cols, border, image) &&
           runStep(device, ClKernel::opencvfilter2DCalcCharWin3Kernel, {rows, cols}, image, around.rows,
                   around.cols, result) &&
           runStep(device, ClKernel::opencvcopyFilter2DTakeOutBoundUchar, {rows, cols}, result, rows, cols,
                   border, device.buffers[smoothed]);
}

bool empty(const ImageDesc& part) {
    return part.rows < 1 || part.cols < 1;
}

}  // namespace

/// The grey images of both cuts, which have the same size, on the device and on the host.
bool OpenclEngine::greyOfCuts(const ImageDesc& part) {
    const std::int64_t pixels = part.pixels();
    const cl_mem canvasGrey = device.buffers[ClBuffer::mosaicWorkACL];
    const cl_mem frameGrey = device.buffers[ClBuffer::mosaicWorkBCL];
    std::uint8_t* canvasCut = overlapPrevious.cut.data();
    std::uint8_t* frameCut = overlapCurrent.cut.data();
    if (part.channels == 3) {
        const WrappedPixels canvas(device, canvasCut, part.bytes());
        const WrappedPixels current(device, frameCut, part.bytes());
        if (!runStep(device, ClKernel::rgb2GaryTwoKernel, {part.rows, part.cols}, canvas.handle(),
                     current.handle(), part.rows, part.cols, canvasGrey, frameGrey))
            return false;
    } else if (!writeBuffer(device, canvasGrey, canvasCut, pixels) ||
               !writeBuffer(device, frameGrey, frameCut, pixels)) {
        return false;
    }
    return readBuffer(device, canvasGrey, overlapPrevious.grey.data(), pixels) &&
           readBuffer(device, frameGrey, overlapCurrent.grey.data(), pixels);
}

/// Smooths the grey images of both cuts and keeps the zero-sum filter's answer to them. What is on the host of
/// the grey images is gone then.
bool OpenclEngine::filterCuts(const ImageDesc& part) {
    if (part.rows <= border || part.cols <= border) return true;
    if (!smoothCut(device, part, ClBuffer::mosaicWorkACL, ClBuffer::mosaicBoundTempACL,
                   ClBuffer::mosaicBoundACL, ClBuffer::mosaicWorkCCL) ||
        !smoothCut(device, part, ClBuffer::mosaicWorkBCL, ClBuffer::mosaicBoundTempBCL,
                   ClBuffer::mosaicBoundBCL, ClBuffer::mosaicWorkDCL))
        return false;
    const auto keepAnswer = [&](ClBuffer smoothed, OverlapCut& side) {
        if (!readBuffer(device, device.buffers[smoothed], side.grey.data(), part.pixels())) return false;
        zeroSumImage(log, side.grey.data(), part.rows, part.cols, side.zeroSum);
        return true;
    };
    return keepAnswer(ClBuffer::mosaicWorkCCL, overlapPrevious) &&
           keepAnswer(ClBuffer::mosaicWorkDCL, overlapCurrent);
}

bool OpenclEngine::measureBrightness() {
    for (OverlapCut* side : {&overlapPrevious, &overlapCurrent}) side->cut.ensure(frame.bytes());
    const OverlapParts parts = cutOverlap(log, mosaic, currentSide.reduced.data(), frame,
                                          overlapPrevious.cut.data(), overlapCurrent.cut.data());
    for (OverlapCut* side : {&overlapPrevious, &overlapCurrent}) side->grey.ensure(frame.pixels());
    const bool overlap = !empty(parts.canvas) && !empty(parts.frame);
    if (overlap && !greyOfCuts(parts.frame)) {
        breakOff();
        return false;
    }
    recordBrightness(
        mosaic.record, GreyPart::whole(overlapPrevious.grey.data(), parts.canvas.rows, parts.canvas.cols),
        GreyPart::whole(overlapCurrent.grey.data(), parts.frame.rows, parts.frame.cols), &workers);
    if (!overlap || filterCuts(parts.frame)) return true;
    breakOff();
    return false;
}

}  // namespace brantel
