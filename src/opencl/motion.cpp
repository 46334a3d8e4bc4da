// The motion measure on the device: grey, 5-tap smoothing, absolute difference; the sum is the processor's.
#include "common/buffer.h"
#include "opencl/device.h"

namespace brantel {

namespace {

constexpr std::int32_t border = 2;

/// One frame's grey image and the two padded images of its smoothing.
struct GreyBuffers {
    cl_mem grey;
    cl_mem padded;
    cl_mem padded2;
};

bool smooth(const OpenclJoint& cl, cl_mem source, const FrameSize& frame, const GreyBuffers& to) {
    const std::int32_t rows = frame.rows;
    const std::int32_t cols = frame.cols;
    const std::int32_t paddedRows = rows + 2 * border;
    const std::int32_t paddedCols = cols + 2 * border;
    // Padding fills the filter's output, too: its outermost rows are not written by the filter.
    return runStep(cl, ClKernel::opencvcopyFilter2DBorderRowUhcarMode, {paddedRows, cols}, source, rows, cols,
                   border, to.padded, to.padded2) &&
           runStep(cl, ClKernel::opencvcopyFilter2DBorderColUcharMode, {paddedRows, border}, to.padded,
                   paddedRows, cols, border, to.padded, to.padded2) &&
           runStep(cl, ClKernel::opencvFilter2DRowCalcUcharWin5Mode, {paddedRows, paddedCols}, to.padded,
                   paddedRows, paddedCols, to.padded2) &&
           runStep(cl, ClKernel::opencvFilter2DColCalcUcharWin5Mode, {paddedRows, paddedCols}, to.padded2,
                   paddedRows, paddedCols, to.padded) &&
           runStep(cl, ClKernel::opencvcopyFilter2DTakeOutBoundUchar, {rows, cols}, to.padded, rows, cols,
                   border, to.grey);
}

bool smoothGrey(const OpenclJoint& cl, std::uint8_t* pixels, const FrameSize& frame, const GreyBuffers& to) {
    const WrappedPixels source(cl, pixels, frame.bytes());
    if (frame.channels != 3) return smooth(cl, source.handle(), frame, to);
    return runStep(cl, ClKernel::rgb2GaryKernel, {frame.rows, frame.cols}, source.handle(), frame.rows,
                   frame.cols, to.grey) &&
           smooth(cl, to.grey, frame, to);
}

}  // namespace

bool measureMotion(OpenclJoint& cl, std::uint8_t* lastSeen, std::int64_t* motion) {
    const FrameSize frame = cl.frame();
    const GreyBuffers previous{cl.buffers[ClBuffer::PreFrameImageGrayCL],
                               cl.buffers[ClBuffer::PreFrameImageGrayBoundTempCL],
                               cl.buffers[ClBuffer::PreFrameImageGrayBoundCL]};
    const GreyBuffers current{cl.buffers[ClBuffer::CurFrameImageGrayCL],
                              cl.buffers[ClBuffer::CurFrameImageGrayBoundTempCL],
                              cl.buffers[ClBuffer::CurFrameImageGrayBoundCL]};
    if (!smoothGrey(cl, lastSeen, frame, previous) ||
        !smoothGrey(cl, cl.clFrameCopyB.data(), frame, current) ||
        !runStep(cl, ClKernel::absCalcKernel, {frame.rows, frame.cols}, previous.grey, current.grey,
                 frame.rows, frame.cols))
        return false;
    const Mapping mapping(cl, previous.grey, frame.pixels());
    if (mapping.pixels() == nullptr) return false;
    const auto* differences = static_cast<const std::uint8_t*>(mapping.pixels());
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < frame.pixels(); ++i) sum += differences[i];
    *motion = sum / frame.pixels();
    return true;
}

}  // namespace brantel
