// The frames of a call: how they come in, and which of them the next call is measured against.
#include <cstring>

#include "compose/reduction.h"
#include "opencl/run_kernel.h"
#include "opencl/state.h"

namespace brantel {

namespace {

/// The lines of a failed prejudging kernel; with one channel the second frame has a line of its own.
struct PrejudgeLines {
    const char* grey;
    const char* colour;
};
constexpr PrejudgeLines previousLines{"failed pretJudgeCh1Kernel", "failed pretJudgeCh3Kernel"};
constexpr PrejudgeLines currentLines{"failed pretJudgeCh1Kernell", "failed pretJudgeCh3Kernel"};

/// A frame as the host hands it over.
struct HostFrame {
    std::uint8_t* pixels;
    ImageDesc desc;
    std::int32_t scale;
};

bool runPrejudge(const ClDevice& device, cl_mem image, const ImageDesc& desc, const PrejudgeLines& lines) {
    const bool colour = desc.channels == 3;
    const ClKernel kernel = colour ? ClKernel::pretJudgeImageCh3Kernel : ClKernel::pretJudgeImageCh1Kernel;
    if (runKernel(device, kernel, {desc.rows, desc.cols}, image, desc.rows, desc.cols)) return true;
    device.log.streamLine(colour ? lines.colour : lines.grey);
    return false;
}

/// Makes zero samples of a frame 1, in the caller's pixels, and takes a copy of working size while they are
/// mapped.
bool prejudgeAndTake(const ClDevice& device, const HostFrame& from, const PrejudgeLines& lines,
                     const ImageDesc& size, Buffer<std::uint8_t>& to) {
    const WrappedPixels image(device, from.pixels, from.desc.bytes());
    if (!runPrejudge(device, image.handle(), from.desc, lines)) return false;
    const Mapping mapping(device, image.handle(), from.desc.bytes());
    if (mapping.pixels() == nullptr) {
        device.log.streamLine("failed clEnqueueReadBuffer111");
        return false;
    }
    to.ensure(size.bytes());
    takeFrame(device.log, to.data(), static_cast<const std::uint8_t*>(mapping.pixels()), from.scale, size);
    return true;
}

void copyFrame(const Buffer<std::uint8_t>& from, const ImageDesc& size, Buffer<std::uint8_t>& to) {
    std::memcpy(to.data(), from.data(), static_cast<std::size_t>(size.bytes()));
}

}  // namespace

bool OpenclEngine::stitchingImageOffset(const StitchCall& call) {
    if (ready && buffersHoldFrame())
        log.debugLine(call.begins() ? "stitchingImageOffsetCL 0" : "stitchingImageOffsetCL 1");
    return Engine::stitchingImageOffset(call);
}

bool OpenclEngine::prejudgeBoth(const StitchCall& call) {
    const bool starts = call.begins();
    // Before a frame was accepted the template is black, in which nothing is found: the old mosaic's last
    // frame must not place frames on a new one.
    if (!starts && mosaic.templateState == TemplateState::none)
        std::memset(templateFrame.data(), 0, static_cast<std::size_t>(frame.bytes()));
    // The two frame records change places with the flag, deliberately (quirk 64); they describe the same geometry. The
    // template has working size.
    const HostFrame previous = starts ? HostFrame{call.firstFrame, currentDesc, call.scale}
                                      : HostFrame{templateFrame.data(), previousDesc, 1};
    const HostFrame current{call.currentFrame, starts ? previousDesc : currentDesc, call.scale};
    if (!prejudgeAndTake(device, previous, previousLines, frame, previousSide.reduced) ||
        !prejudgeAndTake(device, current, currentLines, frame, currentSide.reduced))
        return false;
    log.streamLine("pretJudgeCh1Kernel::::::::::::::");  // whatever the channel count
    return true;
}

bool OpenclEngine::takeFrames(const StitchCall& call) {
    // Here and not at the initialisation: most of those are no more than a check that OpenCL is there.
    for (Buffer<std::uint8_t>* copy : {&templateFrame, &lastSeen}) copy->ensure(frame.bytes());
    if (!prejudgeBoth(call)) {
        breakOff();
        return false;
    }
    return !call.begins() || startMosaic(log, mosaic, previousSide.reduced.data(), frame);
}

/// A frame that is passed over becomes the template although it is not on the canvas: the next offset is
/// measured against it. That is this backend's rule, unlike the others'.
void OpenclEngine::keepTemplate() {
    copyFrame(currentSide.reduced, frame, templateFrame);
    mosaic.templateState = TemplateState::unplaced;
}

void OpenclEngine::keepAsLastSeen() {
    copyFrame(currentSide.reduced, frame, lastSeen);
}

}  // namespace brantel
