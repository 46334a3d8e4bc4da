#include "opencl/feature_side.h"

#include <cstring>

#include "common/log.h"
#include "opencl/device.h"
#include "registration/register_frames.h"

namespace brantel {

const SideParts modelParts{ClKernel::rgb2GaryKernel,
                           ClKernel::opencvInterLineARResizeDownCh1Kernel,
                           ClKernel::findGradSquareCrossTermsKernel,
                           ClKernel::opencvcopyFilter2DBorderRowFloat,
                           ClKernel::opencvcopyFilter2DBorderColFloat,
                           ClKernel::opencvFilter2DRowCalcFloatWin5,
                           ClKernel::opencvFilter2DColCalcFloatWin5,
                           ClKernel::opencvcopyFilter2DTakeOutBoundFloat,
                           ClKernel::getRowRange,
                           ClBuffer::modelGrayCL,
                           ClBuffer::gray_pointdownscalClOne,
                           ClBuffer::grad_x2ClOne,
                           ClBuffer::grad_y2ClOne,
                           ClBuffer::grad_xyClOne,
                           ClBuffer::filterTempClOne,
                           ClBuffer::filterTemp2ClOne,
                           ClBuffer::rowRangeModelCL,
                           "getRangeTh1 in",
                           "HarrissCornerSPoint22222222222 size is 0"};

const SideParts matchParts{ClKernel::rgb2GaryKernel2,
                           ClKernel::opencvInterLineARResizeDownCh1Kernel2,
                           ClKernel::findGradSquareCrossTermsKernel2,
                           ClKernel::opencvcopyFilter2DBorderRowFloat2,
                           ClKernel::opencvcopyFilter2DBorderColFloat2,
                           ClKernel::opencvFilter2DRowCalcFloatWin52,
                           ClKernel::opencvFilter2DColCalcFloatWin52,
                           ClKernel::opencvcopyFilter2DTakeOutBoundFloat2,
                           ClKernel::getRowRange2,
                           ClBuffer::matchGrayCL,
                           ClBuffer::gray_pointdownscalClTwo,
                           ClBuffer::grad_x2ClTwo,
                           ClBuffer::grad_y2ClTwo,
                           ClBuffer::grad_xyClTwo,
                           ClBuffer::filterTempClTwo,
                           ClBuffer::filterTemp2ClTwo,
                           ClBuffer::DestTempImageCL,
                           nullptr,
                           "HarrissCornerSPoint size is111111111111 0"};

namespace {

constexpr std::int32_t colour = 3;

/// The frame's grey image on the device: made from a colour frame, else the frame itself. Null when it cannot
/// be made.
cl_mem greyImageOf(OpenclJoint& cl, const SideParts& parts, const WrappedPixels& source,
                   const ImageDesc& record) {
    if (source.handle() == nullptr) {
        debugLine("failed clEnqueueReadBuffer111");
        return nullptr;
    }
    if (record.channels != colour) {
        if (cl.clRowRangeMode == 1 && parts.rowRangeLine != nullptr) debugLine(parts.rowRangeLine);
        return source.handle();
    }
    const cl_mem grey = cl.buffers[parts.greyImage];
    if (runKernel(cl, parts.grey, {record.rows, record.cols}, source.handle(), record.rows, record.cols,
                  grey))
        return grey;
    debugLine("failed rgb2GaryUcharKernel");
    return nullptr;
}

bool readGrey(const OpenclJoint& cl, ClFeatureSide& side, cl_mem grey, const ImageDesc& record) {
    side.grey.ensure(record.pixels() + record.cols);
    std::memset(side.grey.data() + record.pixels(), 0, static_cast<std::size_t>(record.cols));
    return readBuffer(cl, grey, side.grey.data(), record.pixels());
}

}  // namespace

bool runFeaturePass(OpenclJoint& cl, ClFeatureSide& side, Worker& thread, std::uint8_t* frame,
                    const ImageDesc& record) {
    WrappedPixels source(cl, frame, record.bytes());
    const cl_mem grey = greyImageOf(cl, *side.parts, source, record);
    if (grey == nullptr) {
        thread.clearRunFlag();  // the thread ends here; the next initialisation starts a new one
        return false;
    }
    const bool detected =
        cl.clRowRangeMode == 1 ? rowRangeStage(cl, side, grey, record) : cornerStage(cl, side, grey);
    if (!detected) return false;
    if (record.channels == colour) source.release();  // else it is the grey image and still needed
    if (!readGrey(cl, side, grey, record)) return false;
    describeCorners(side.features, side.grey.data(), record.rows, record.cols, side.scratch);
    return true;
}

}  // namespace brantel
