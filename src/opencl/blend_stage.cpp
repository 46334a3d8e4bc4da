// Feathering a frame into the canvas with the blending kernels; only the distances are the processor's.
#include "common/log.h"
#include "compose/weights.h"
#include "opencl/device.h"

namespace brantel {

namespace {

/// 255 where a picture has content, 0 elsewhere, for canvas cut and frame.
bool occupancyMasks(OpenclJoint& cl, cl_mem cut, cl_mem frame) {
    const std::int32_t rows = cl.frame().rows;
    const std::int32_t cols = cl.frame().cols;
    const cl_mem maskA = cl.buffers[ClBuffer::blendWeightACL];
    const cl_mem maskB = cl.buffers[ClBuffer::blendWeightBCL];
    if (cl.clFrameChannels == 3)
        return runStep(cl, ClKernel::rgb2GaryFloatTwoCh3Kernel, {rows, cols}, cut, frame, rows, cols, maskA,
                       maskB);
    // This one takes columns before rows, yet gets rows before columns as the other, deliberately. Pixel by
    // pixel that is the same, as long as it covers what it takes for rows and columns.
    return runStep(cl, ClKernel::rgb2GaryFloatTwoCh1Kernel, {cols, rows}, cut, frame, rows, cols, maskA,
                   maskB);
}

/// Replaces both masks on the device by their distances to the nearest empty pixel.
bool distances(OpenclJoint& cl) {
    const FrameSize frame = cl.frame();
    const std::int64_t bytes = frame.pixels() * static_cast<std::int64_t>(sizeof(float));
    cl.maskA.ensure(frame.pixels());
    cl.maskB.ensure(frame.pixels());
    if (!readBuffer(cl, cl.buffers[ClBuffer::blendWeightACL], cl.maskA.data(), bytes) ||
        !readBuffer(cl, cl.buffers[ClBuffer::blendWeightBCL], cl.maskB.data(), bytes))
        return false;
    clearMaskEdge(cl.maskB.data(), frame.rows, frame.cols);
    cl.distances.transform(cl.maskA.data(), frame.rows, frame.cols);
    cl.distances.transform(cl.maskB.data(), frame.rows, frame.cols);
    return writeBuffer(cl, cl.buffers[ClBuffer::blendWeightACL], cl.maskA.data(), bytes) &&
           writeBuffer(cl, cl.buffers[ClBuffer::blendWeightBCL], cl.maskB.data(), bytes);
}

/// Fuses canvas cut and current frame into the template.
bool fuse(OpenclJoint& cl, std::uint8_t* canvasCut) {
    const FrameSize frame = cl.frame();
    const WrappedPixels cut(cl, canvasCut, frame.bytes());
    const WrappedPixels current(cl, cl.clFrameCopyB.data(), frame.bytes());
    const cl_mem weights = cl.buffers[ClBuffer::blendByteCL];
    const cl_mem fused = cl.buffers[ClBuffer::fusionImageCL];
    const ClKernel fusion =
        frame.channels == 3 ? ClKernel::getFusionImageKernelCh3 : ClKernel::getFusionImageKernelCh1;
    return occupancyMasks(cl, cut.handle(), current.handle()) && distances(cl) &&
           runStep(cl, ClKernel::getWeightImageKernel, {frame.rows, frame.cols},
                   cl.buffers[ClBuffer::blendWeightACL], cl.buffers[ClBuffer::blendWeightBCL], frame.rows,
                   frame.cols, weights) &&
           runStep(cl, fusion, {frame.rows, frame.cols}, cut.handle(), current.handle(), weights, frame.rows,
                   frame.cols, fused) &&
           readBuffer(cl, fused, cl.clFrameCopyA.data(), frame.bytes());
}

}  // namespace

bool stitchingImageImageblend(OpenclJoint& cl) {
    if (cl.clFrameCopyB.empty()) {
        streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const FrameSize frame = cl.frame();
    cl.canvasCut.ensure(frame.bytes());
    const auto fuseOnDevice = [&](std::uint8_t* cut) -> const std::uint8_t* {
        cl.deviceFailed = !fuse(cl, cut);
        return cl.deviceFailed ? nullptr : cl.clFrameCopyA.data();
    };
    if (!mergeFrame(cl.mosaic, frame, cl.canvasCut.data(), fuseOnDevice)) return false;
    cl.mosaic.hasTemplate = true;
    return true;
}

}  // namespace brantel
