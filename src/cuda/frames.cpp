// The frames of a call: how they come onto the device, and which of them the next call is measured against.
#include <cstring>
#include <new>
#include <optional>

#include "common/guard.h"
#include "compose/reduction.h"
#include "cuda/current_device.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"

namespace brantel {

namespace {

constexpr std::int32_t reducedBorder = 8;  // room around a reduced frame

/// On the canvas 0 means "empty": a frame must not contain it.
void fillZeroSamples(const DeviceBuffer<std::uint8_t>& image, const ImageDesc& frame) {
    const auto kernel = frame.channels < 2 ? pretJudgeImageCh1Kernel : pretJudgeImageCh3Kernel;
    launchOver(frame.rows, frame.cols, kernel, image.data(), frame.rows, frame.cols);
}

}  // namespace

/// A device that fails on the way breaks the call off.
bool CudaEngine::stitchingImageOffset(const StitchCall& call) {
    std::optional<OnMosaicDevice> device;
    if (ready && !workers.areInherited()) device.emplace();
    bool ended = false;
    const bool done = succeeds(log, "CUDA offset stage", [&] {
        const bool suitable = Engine::stitchingImageOffset(call);
        ended = true;
        return suitable;
    });
    if (!ended) breakOff();
    if (!done) log.streamLine("stitchingImageOffsetCuda failed");
    return done;
}

bool CudaEngine::allocateReduced(CudaSide& side, const char* failLine) const {
    try {
        side.reduced.ensure((std::int64_t{frame.rows} + reducedBorder) *
                            (std::int64_t{frame.cols} + reducedBorder) * frame.channels);
        return true;
    } catch (const std::bad_alloc&) {
        log.streamLine(failLine);
        return false;
    }
}

/// Brings a host's frame onto the device, ready to be placed, and back into staged, which may be null.
void CudaEngine::stageFrame(const std::uint8_t* from, std::int32_t scale, CudaSide& side,
                            std::uint8_t* staged) const {
    if (scale != 1) {
        takeFrame(log, side.reduced.data(), from, scale, frame);
        from = side.reduced.data();
    }
    toDevice(side.frame, from, frame.bytes());
    fillZeroSamples(side.frame, frame);
    if (staged != nullptr) toHost(staged, side.frame, frame.bytes());
}

bool CudaEngine::beginMosaic(const StitchCall& call) {
    templateOnDevice = false;
    std::uint8_t* first = previousSide.reduced.data();
    stageFrame(call.firstFrame, call.scale, previousSide, first);
    return startMosaic(log, mosaic, first, frame);
}

/// The template of a continuing call. Before a frame was accepted it is black, in which nothing is found: the
/// old mosaic's last frame must not place frames on a new one.
void CudaEngine::recallTemplate() {
    if (mosaic.templateState == TemplateState::none) {
        templateOnDevice = false;
        check(cudaMemset(previousSide.frame.data(), 0, bytesOf<char>(frame.bytes())), "memset");
    } else if (!templateOnDevice) {
        toDevice(previousSide.frame, templateFrame.data(), frame.bytes());
        templateOnDevice = true;
    }
}

bool CudaEngine::takeFrames(const StitchCall& call) {
    const OnMosaicDevice device;
    device.require();
    if (!allocateReduced(previousSide, "new resiz_One failed") ||
        !allocateReduced(currentSide, "new resiz_Two failed"))
        return false;
    if (!call.begins()) {
        recallTemplate();
    } else if (!beginMosaic(call)) {
        return false;
    }
    stageFrame(call.currentFrame, call.scale, currentSide, modes.byMotion() ? nullptr : stagedCurrent.data());
    return true;
}

/// The template stays the frame whose place on the canvas is known, or the offsets to come would not add up:
/// in a new mosaic its first frame, with the features that were just found, else the one there is.
void CudaEngine::keepTemplate() {
    requireZeroSum();
    if (!begins()) return;
    std::memcpy(templateFrame.data(), previousSide.reduced.data(), static_cast<std::size_t>(frame.bytes()));
    templateOnDevice = true;
    templateIsDescribed();
}

/// The old reference's memory is the next frame's.
void CudaEngine::keepAsLastSeen() {
    lastFrame.swap(currentSide.frame);
}

}  // namespace brantel
