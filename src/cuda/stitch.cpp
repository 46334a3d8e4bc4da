// One frame's road through the CUDA backend.
#include <cstring>

#include "common/guard.h"
#include "common/log.h"
#include "cuda/backend.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"
#include "registration/register_frames.h"

namespace brantel {

namespace {

constexpr std::int32_t scratchBorder = 8;  // of the two host images of the offset stage

bool allocateScratch(Buffer<std::uint8_t>& scratch, const FrameSize& frame, const char* failLine) {
    try {
        scratch.ensure((std::int64_t{frame.rows} + scratchBorder) *
                       (std::int64_t{frame.cols} + scratchBorder) * frame.channels);
        return true;
    } catch (const std::bad_alloc&) {
        streamLine(failLine);
        return false;
    }
}

/// On the canvas 0 means "empty": a frame must not contain it.
void fillZeroSamples(const CudaBackend& cuda, const DeviceBuffer<std::uint8_t>& image) {
    const auto kernel = cuda.frame.channels < 2 ? pretJudgeImageCh1Kernel : pretJudgeImageCh3Kernel;
    launchOver(cuda.frame.rows, cuda.frame.cols, kernel, image.data(), cuda.frame.rows, cuda.frame.cols);
}

/// Brings a host's frame onto the device, ready to be placed, and back into staged.
void stageFrame(const CudaBackend& cuda, const std::uint8_t* from, std::int32_t scale,
                Buffer<std::uint8_t>& reduced, const DeviceBuffer<std::uint8_t>& to, std::uint8_t* staged) {
    if (scale != 1) {
        takeFrame(reduced.data(), from, scale, cuda.frame);
        from = reduced.data();
    }
    toDevice(to, from, cuda.frame.bytes());
    fillZeroSamples(cuda, to);
    toHost(staged, to, cuda.frame.bytes());
}

bool beginMosaic(CudaBackend& cuda, const StitchCall& call) {
    cuda.templateOnDevice = false;
    stageFrame(cuda, call.firstFrame, call.scale, cuda.resizOne, cuda.model.frame, cuda.resizOne.data());
    return startMosaic(cuda.mosaic, cuda.resizOne.data(), cuda.frame);
}

/// The template of a continuing call. Before a frame was accepted it is black, in which nothing is found: the
/// old mosaic's last frame must not place frames on a new one.
void recallTemplate(CudaBackend& cuda) {
    if (!cuda.mosaic.hasTemplate) {
        cuda.templateOnDevice = false;
        check(cudaMemset(cuda.model.frame.data(), 0, bytesOf<char>(cuda.frame.bytes())), "memset");
    } else if (!cuda.templateOnDevice) {
        toDevice(cuda.model.frame, cuda.coonerValue.data(), cuda.frame.bytes());
        cuda.templateOnDevice = true;
    }
}

/// A frame that shifted too little or too far is passed over: the template stays the frame whose place on the
/// canvas is known, or the offsets to come would not add up.
void keepPreviousTemplate(CudaBackend& cuda, const StitchCall& call) {
    if (call.continueFlag == 0) keepAsTemplate(cuda, cuda.resizOne.data());
}

bool offsetStage(CudaBackend& cuda, const StitchCall& call) {
    if (!cuda.ready) return false;
    if (!cuda.buffersHoldFrame()) {
        streamLine(
            "ptr is null");  // an allocation failed, or a second initialisation asked for larger frames
        return false;
    }
    return stitchingImageOffset(cuda, call);
}

/// The offset stage; *ended tells whether it came to an end of its own.
bool tryOffsetStage(CudaBackend& cuda, const StitchCall& call, bool* ended) {
    const bool done = succeeds("CUDA offset stage", [&] {
        const bool placed = offsetStage(cuda, call);
        *ended = !cuda.workers.broke();
        return placed;
    });
    if (!done) streamLine("stitchingImageOffsetCuda failed");
    return done;
}

bool stitch(CudaBackend& cuda, const StitchCall& call) {
    MosaicBackup backup(cuda.mosaic);
    bool ended = false;
    const bool done = tryOffsetStage(cuda, call, &ended) &&
                      mergeIfSuitable(
                          cuda.mosaic, cuda.frame, [&] { return stitchingImageImageblend(cuda); },
                          [&] { keepPreviousTemplate(cuda, call); });
    if (!ended) return false;
    backup.keepChanges();
    // The current frame is the next motion test's reference, the old reference's memory the next frame's.
    if (done && stitchModes().GStitchMainMode != 0) cuda.lastFrame.swap(cuda.match.frame);
    return done;
}

}  // namespace

void keepAsTemplate(CudaBackend& cuda, const std::uint8_t* accepted) {
    std::memcpy(cuda.coonerValue.data(), accepted, static_cast<std::size_t>(cuda.frame.bytes()));
    cuda.templateOnDevice = true;
    cuda.mosaic.hasTemplate = true;
}

bool imageMosaicFun(CudaBackend& cuda) {
    const ImageDesc record{0, cuda.frame.channels, cuda.frame.rows, cuda.frame.cols};
    const CudaJob job{record, cuda.expected, cuda.tuning};
    auto model = [&] { runFeatureJob(cuda.model, job); };
    auto match = [&] { runFeatureJob(cuda.match, job); };
    return registerFrames(cuda.workers, Job::of(model), Job::of(match), cuda.model.features,
                          cuda.match.features, record.rows, record.cols, cuda.mosaic.record, cuda.estimation);
}

bool stitchingImageOffset(CudaBackend& cuda, const StitchCall& call) {
    const bool continues = call.continueFlag != 0;
    if (call.currentFrame == nullptr || (!continues && call.firstFrame == nullptr)) {
        streamLine("stitchingImageOffset ptr is null");
        return false;
    }
    if (!allocateScratch(cuda.resizOne, cuda.frame, "new resiz_One failed") ||
        !allocateScratch(cuda.resizTwo, cuda.frame, "new resiz_Two failed"))
        return false;
    if (continues) {
        recallTemplate(cuda);
    } else if (!beginMosaic(cuda, call)) {
        return false;
    }
    stageFrame(cuda, call.currentFrame, call.scale, cuda.resizTwo, cuda.match.frame, cuda.staging[0].data());
    if (!imageMosaicFun(cuda)) {
        streamLine("imageMosaicFunCuda failed");
        return false;
    }
    clLog(" flags.offset.x%dflags.offset.y:::%d\n", cuda.mosaic.record.offset.x, cuda.mosaic.record.offset.y);
    if (!holdsFramesOf(cuda.mosaic, cuda.frame)) return false;
    if (stitchModes().GStitchMainMode != 0) {
        judgeByMotion(cuda, continues ? cuda.lastFrame : cuda.model.frame);
    } else {
        judgeByBrightness(cuda);
    }
    return true;
}

std::int32_t stichingImagedJointCuda(const StitchCall& call) {
    CudaBackend& cuda = cudaBackend();
    cuda.expected = call.expected;
    return answerStitchCall(call, cuda.mosaic, cuda.limitRows, cuda.limitCols,
                            [&] { return stitch(cuda, call); });
}

}  // namespace brantel
