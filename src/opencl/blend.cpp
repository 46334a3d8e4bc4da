// Blending a frame into the canvas with the device's kernels; only the distances are the processor's.
#include "compose/bands.h"
#include "opencl/run_kernel.h"
#include "opencl/state.h"

namespace brantel {

namespace {

/// 255 where a picture has content, 0 elsewhere, for canvas cut and frame.
bool occupancyMasks(const ClDevice& device, const ImageDesc& frame, cl_mem cut, cl_mem current) {
    const std::int32_t rows = frame.rows;
    const std::int32_t cols = frame.cols;
    const cl_mem canvasMask = device.buffers[ClBuffer::blendWeightACL];
    const cl_mem frameMask = device.buffers[ClBuffer::blendWeightBCL];
    if (frame.channels == 3)
        return runStep(device, ClKernel::rgb2GaryFloatTwoCh3Kernel, {rows, cols}, cut, current, rows, cols,
                       canvasMask, frameMask);
    // This one takes columns before rows, yet gets rows before columns as the other, deliberately (quirk 50). Pixel by
    // pixel that is the same, as long as it covers what it takes for rows and columns.
    return runStep(device, ClKernel::rgb2GaryFloatTwoCh1Kernel, {cols, rows}, cut, current, rows, cols,
                   canvasMask, frameMask);
}

/// Replaces both masks on the device by their distances to the nearest empty pixel.
bool distances(const ClDevice& device, const ImageDesc& frame, SeamImages& seam) {
    const cl_mem canvasMask = device.buffers[ClBuffer::blendWeightACL];
    const cl_mem frameMask = device.buffers[ClBuffer::blendWeightBCL];
    const std::int64_t bytes = frame.pixels() * static_cast<std::int64_t>(sizeof(float));
    seam.canvasMask.ensure(frame.pixels());
    seam.frameMask.ensure(frame.pixels());
    if (!readBuffer(device, canvasMask, seam.canvasMask.data(), bytes) ||
        !readBuffer(device, frameMask, seam.frameMask.data(), bytes))
        return false;
    clearMaskEdge(device.log, seam.frameMask.data(), frame.rows, frame.cols);
    seam.distances.transform(seam.canvasMask.data(), frame.rows, frame.cols, nullptr);
    seam.distances.transform(seam.frameMask.data(), frame.rows, frame.cols, nullptr);
    return writeBuffer(device, canvasMask, seam.canvasMask.data(), bytes) &&
           writeBuffer(device, frameMask, seam.frameMask.data(), bytes);
}

}  // namespace

/// Fuses canvas cut and current frame into the template.
bool OpenclEngine::fuse(std::uint8_t* canvasCut) {
    const Extent extent{frame.rows, frame.cols};
    const WrappedPixels cut(device, canvasCut, frame.bytes());
    const WrappedPixels current(device, currentSide.reduced.data(), frame.bytes());
    const cl_mem weights = device.buffers[ClBuffer::blendByteCL];
    const cl_mem fused = device.buffers[ClBuffer::fusionImageCL];
    const ClKernel fusion =
        frame.channels == 3 ? ClKernel::getFusionImageKernelCh3 : ClKernel::getFusionImageKernelCh1;
    return occupancyMasks(device, frame, cut.handle(), current.handle()) && distances(device, frame, seam) &&
           runStep(device, ClKernel::getWeightImageKernel, extent, device.buffers[ClBuffer::blendWeightACL],
                   device.buffers[ClBuffer::blendWeightBCL], frame.rows, frame.cols, weights) &&
           runStep(device, fusion, extent, cut.handle(), current.handle(), weights, frame.rows, frame.cols,
                   fused) &&
           readBuffer(device, fused, templateFrame.data(), frame.bytes());
}

bool OpenclEngine::stitchingImageImageblend() {
    if (currentSide.reduced.empty()) {
        log.streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    seam.canvasCut.ensure(frame.bytes());
    return mergeFrame(log, mosaic, frame, seam.canvasCut.data(), [&](std::uint8_t* cut) -> std::uint8_t* {
        if (fuse(cut)) return templateFrame.data();
        breakOff();
        return nullptr;
    });
}

}  // namespace brantel
