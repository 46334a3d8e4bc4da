// Grey images, corners and descriptors of both frames, and the offset that follows from them.
#include <cstring>

#include "opencl/corner_search.h"
#include "opencl/run_kernel.h"
#include "opencl/state.h"
#include "registration/descriptors.h"

namespace brantel {

namespace {

constexpr std::int32_t colour = 3;

/// The frame's grey image on the device: made from a colour frame, else the frame itself. Null when it cannot
/// be made.
cl_mem greyImageOf(const ClDevice& device, const SideParts& parts, const WrappedPixels& source,
                   const ImageDesc& frame, bool byRowRange) {
    if (source.handle() == nullptr) {
        device.log.debugLine("failed clEnqueueReadBuffer111");
        return nullptr;
    }
    if (frame.channels != colour) {
        if (byRowRange && parts.rowRangeLine != nullptr) device.log.debugLine(parts.rowRangeLine);
        return source.handle();
    }
    const cl_mem grey = device.buffers[parts.greyImage];
    if (runKernel(device, parts.grey, {frame.rows, frame.cols}, source.handle(), frame.rows, frame.cols,
                  grey))
        return grey;
    device.log.debugLine("failed rgb2GaryUcharKernel");
    return nullptr;
}

bool readGrey(const ClDevice& device, OpenclSide& side, cl_mem grey, const ImageDesc& frame) {
    side.grey.ensure(frame.pixels() + frame.cols);
    std::memset(side.grey.data() + frame.pixels(), 0, static_cast<std::size_t>(frame.cols));
    return readBuffer(device, grey, side.grey.data(), frame.pixels());
}

}  // namespace

/// Fills side.features from its frame. False when a device step failed; where the frame could not even be
/// made grey, the worker ends with the job.
bool OpenclEngine::describeSide(OpenclSide& side, Worker& worker) const {
    WrappedPixels source(device, side.reduced.data(), pair.bytes());
    const cl_mem grey = greyImageOf(device, side.parts, source, pair, expected.use);
    if (grey == nullptr) {
        worker.clearRunFlag();  // the next initialisation starts a new thread
        return false;
    }
    const CornerSearch search{device, side, half, tuning};
    const bool searched = expected.use ? search.inRowRange(grey, pair, expected) : search.inFrame(grey, pair);
    if (!searched) return false;
    if (pair.channels == colour) source.release();  // else it is the grey image and still needed
    if (!readGrey(device, side, grey, pair)) return false;
    describeCorners(log, side.features, side.grey.data(), pair.rows, pair.cols, side.scratch, nullptr);
    return true;
}

bool OpenclEngine::imageMosaicFun() {
    if (previousSide.reduced.empty() || currentSide.reduced.empty()) {
        log.streamLine("imageMosaicFun ptr is null");
        return false;
    }
    pair = frame;
    half = {frame.rows / tuning.workingScale, frame.cols / tuning.workingScale};
    auto model = [&] { return describeSide(previousSide, workers.model); };
    auto match = [&] { return describeSide(currentSide, workers.match); };
    StitchFlags& record = mosaic.record;
    StitchFlags found = record;
    found.matchCount = -1;
    const bool registered =
        registerFrames(Job::of(model), Job::of(match), previousSide.features, currentSide.features, found);
    if (found.matchCount < 0) return false;  // it never came to counting
    record.matchCount = found.matchCount;
    record.offset = found.offset;
    if (!registered) log.streamLine("RansacSPointNum<10");  // 10 fail, too, whatever the text says
    return registered;
}

}  // namespace brantel
