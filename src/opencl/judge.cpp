// The acceptance test and the motion that it is made on. Grey images, 5-tap smoothing and differences are the
// device's, their sum is the processor's.
#include "opencl/run_kernel.h"
#include "opencl/state.h"

namespace brantel {

namespace {

constexpr std::int32_t border = 2;

/// One frame's grey image and the two padded images of its smoothing.
struct GreyBuffers {
    cl_mem grey;
    cl_mem padded;
    cl_mem padded2;
};

bool smooth(const ClDevice& device, cl_mem source, const ImageDesc& frame, const GreyBuffers& to) {
    const std::int32_t rows = frame.rows;
    const std::int32_t cols = frame.cols;
    const Extent padded{rows + 2 * border, cols + 2 * border};
    // Padding fills the filter's output, too: its outermost rows are not written by the filter.
    return runStep(device, ClKernel::opencvcopyFilter2DBorderRowUhcarMode, {padded.rows, cols}, source, rows,
                   cols, border, to.padded, to.padded2) &&
           runStep(device, ClKernel::opencvcopyFilter2DBorderColUcharMode, {padded.rows, border}, to.padded,
                   padded.rows, cols, border, to.padded, to.padded2) &&
           runStep(device, ClKernel::opencvFilter2DRowCalcUcharWin5Mode, padded, to.padded, padded.rows,
                   padded.cols, to.padded2) &&
           runStep(device, ClKernel::opencvFilter2DColCalcUcharWin5Mode, padded, to.padded2, padded.rows,
                   padded.cols, to.padded) &&
           runStep(device, ClKernel::opencvcopyFilter2DTakeOutBoundUchar, {rows, cols}, to.padded, rows, cols,
                   border, to.grey);
}

bool smoothGrey(const ClDevice& device, std::uint8_t* pixels, const ImageDesc& frame, const GreyBuffers& to) {
    const WrappedPixels source(device, pixels, frame.bytes());
    if (frame.channels != 3) return smooth(device, source.handle(), frame, to);
    return runStep(device, ClKernel::rgb2GaryKernel, {frame.rows, frame.cols}, source.handle(), frame.rows,
                   frame.cols, to.grey) &&
           smooth(device, to.grey, frame, to);
}

/// The mean absolute difference of two frames' smoothed grey images. False when a step failed.
bool meanDifference(const ClDevice& device, std::uint8_t* before, std::uint8_t* now, const ImageDesc& frame,
                    std::int64_t* mean) {
    const GreyBuffers previous{device.buffers[ClBuffer::PreFrameImageGrayCL],
                               device.buffers[ClBuffer::PreFrameImageGrayBoundTempCL],
                               device.buffers[ClBuffer::PreFrameImageGrayBoundCL]};
    const GreyBuffers current{device.buffers[ClBuffer::CurFrameImageGrayCL],
                              device.buffers[ClBuffer::CurFrameImageGrayBoundTempCL],
                              device.buffers[ClBuffer::CurFrameImageGrayBoundCL]};
    if (!smoothGrey(device, before, frame, previous) || !smoothGrey(device, now, frame, current) ||
        !runStep(device, ClKernel::absCalcKernel, {frame.rows, frame.cols}, previous.grey, current.grey,
                 frame.rows, frame.cols))
        return false;
    const Mapping mapping(device, previous.grey, frame.pixels());
    if (mapping.pixels() == nullptr) return false;
    const auto* differences = static_cast<const std::uint8_t*>(mapping.pixels());
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < frame.pixels(); ++i) sum += differences[i];
    *mean = sum / frame.pixels();
    return true;
}

}  // namespace

bool OpenclEngine::judge() {
    log.debugLine(modes.byMotion() ? "1== GStitchMode" : "0 == GStitchMode");
    if (!Engine::judge()) return false;
    log.debugLine(mosaic.record.stitch_flags == 1 ? "flags.stitch_flags = 1;" : "flags.stitch_flags = 0;");
    return true;
}

/// Against the last frame seen, in a new mosaic its first one.
bool OpenclEngine::measureMotion(std::int64_t* motion) {
    std::uint8_t* before = begins() ? previousSide.reduced.data() : lastSeen.data();
    if (meanDifference(device, before, currentSide.reduced.data(), frame, motion)) return true;
    breakOff();
    return false;
}

}  // namespace brantel
