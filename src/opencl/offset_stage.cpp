// From a pair of frames to their offset and the decision whether the frame may be merged.
#include <cstring>

#include "common/log.h"
#include "compose/judgement.h"
#include "opencl/device.h"
#include "registration/register_frames.h"

namespace brantel {

namespace {

/// The lines of a failed prejudging kernel; with one channel the second frame has a line of its own.
struct PrejudgeLines {
    const char* grey;
    const char* colour;
};
constexpr PrejudgeLines previousLines{"failed pretJudgeCh1Kernel", "failed pretJudgeCh3Kernel"};
constexpr PrejudgeLines currentLines{"failed pretJudgeCh1Kernell", "failed pretJudgeCh3Kernel"};

bool runPrejudge(const OpenclJoint& cl, cl_mem image, const ImageDesc& desc, const PrejudgeLines& lines) {
    const bool colour = desc.channels == 3;
    const ClKernel kernel = colour ? ClKernel::pretJudgeImageCh3Kernel : ClKernel::pretJudgeImageCh1Kernel;
    if (runKernel(cl, kernel, {desc.rows, desc.cols}, image, desc.rows, desc.cols)) return true;
    streamLine(colour ? lines.colour : lines.grey);
    return false;
}

/// Makes zero samples of a frame 1, in the caller's pixels, and takes a copy of working size while they are
/// mapped.
bool prejudgeAndTake(const OpenclJoint& cl, std::uint8_t* pixels, const ImageDesc& desc, std::int32_t scale,
                     const PrejudgeLines& lines, Buffer<std::uint8_t>& to) {
    const WrappedPixels image(cl, pixels, desc.bytes());
    if (!runPrejudge(cl, image.handle(), desc, lines)) return false;
    const Mapping mapping(cl, image.handle(), desc.bytes());
    if (mapping.pixels() == nullptr) {
        streamLine("failed clEnqueueReadBuffer111");
        return false;
    }
    to.ensure(cl.frame().bytes());
    takeFrame(to.data(), static_cast<const std::uint8_t*>(mapping.pixels()), scale, cl.frame());
    return true;
}

bool prejudgeBoth(OpenclJoint& cl, const StitchCall& call, std::uint8_t* previousFrame,
                  const ImageDesc& previousDesc, const ImageDesc& currentDesc) {
    const bool continues = call.continueFlag != 0;
    // Before a frame was accepted the template is black, in which nothing is found: the old mosaic's last
    // frame must not place frames on a new one.
    if (continues && !cl.mosaic.hasTemplate)
        std::memset(previousFrame, 0, static_cast<std::size_t>(cl.frame().bytes()));
    const std::int32_t previousScale = continues ? 1 : call.scale;  // the template has working size
    if (!prejudgeAndTake(cl, previousFrame, previousDesc, previousScale, previousLines, cl.previousWorking) ||
        !prejudgeAndTake(cl, call.currentFrame, currentDesc, call.scale, currentLines, cl.clFrameCopyB))
        return false;
    streamLine("pretJudgeCh1Kernel::::::::::::::");  // whatever the channel count
    return true;
}

/// Compares with the last frame seen, in a new mosaic its first one.
bool judgeByMotion(OpenclJoint& cl, std::uint8_t* lastSeen) {
    std::int64_t motion = 0;
    if (!measureMotion(cl, lastSeen, &motion)) {
        cl.deviceFailed = true;
        return false;
    }
    judgeMotion(cl.mosaic.record, stitchModes(), motion);
    return true;
}

bool judge(OpenclJoint& cl, std::uint8_t* lastSeen) {
    if (stitchModes().GStitchMainMode != 0) {
        debugLine("1== GStitchMode");
        if (!judgeByMotion(cl, lastSeen)) return false;
    } else {
        debugLine("0 == GStitchMode");
        measureBrightness(cl.mosaic, cl.clFrameCopyB.data(), cl.frame(), cl.overlap, &cl.workers);
        judgeBrightness(cl.mosaic.record, stitchModes(), cl.frame().rows, cl.frame().cols);
    }
    debugLine(cl.mosaic.record.stitch_flags == 1 ? "flags.stitch_flags = 1;" : "flags.stitch_flags = 0;");
    return true;
}

}  // namespace

bool stitchingImageOffsetCL(OpenclJoint& cl, const StitchCall& call, std::uint8_t* previousFrame,
                            const ImageDesc& previousDesc, const ImageDesc& currentDesc) {
    if (previousFrame == nullptr || call.currentFrame == nullptr) {
        streamLine("stitchingImageOffset ptr is null");
        return false;
    }
    if (!prejudgeBoth(cl, call, previousFrame, previousDesc, currentDesc)) return false;
    const bool continues = call.continueFlag != 0;
    if (!continues && !startMosaic(cl.mosaic, cl.previousWorking.data(), cl.frame())) return false;
    if (!imageMosaicFun(cl, cl.previousWorking.data(), cl.clFrameCopyB.data())) return false;
    if (!holdsFramesOf(cl.mosaic, cl.frame())) return false;
    return judge(cl, continues ? cl.lastSeen.data() : cl.previousWorking.data());
}

bool imageMosaicFun(OpenclJoint& cl, std::uint8_t* previousFrame, std::uint8_t* currentFrame) {
    if (previousFrame == nullptr || currentFrame == nullptr) {
        streamLine("imageMosaicFun ptr is null");
        return false;
    }
    cl.clDownFactor = 2;
    cl.clHalfWidth = cl.clScaledWidth / 2;
    cl.clHalfHeight = cl.clScaledHeight / 2;
    const ImageDesc record{0, cl.clFrameChannels, cl.clScaledWidth, cl.clScaledHeight};
    auto model = [&] { return runFeaturePass(cl, cl.modelSide, cl.workers.model, previousFrame, record); };
    auto match = [&] { return runFeaturePass(cl, cl.matchSide, cl.workers.match, currentFrame, record); };

    StitchFlags& flags = cl.mosaic.record;
    StitchFlags found = flags;
    found.matchCount = -1;
    const bool registered =
        registerFrames(cl.workers, Job::of(model), Job::of(match), cl.modelSide.features,
                       cl.matchSide.features, record.rows, record.cols, found, cl.estimation);
    if (found.matchCount < 0) return false;  // it never came to counting
    flags.matchCount = found.matchCount;
    flags.offset = found.offset;
    if (!registered) streamLine("RansacSPointNum<10");  // 10 fail, too, whatever the text says
    return registered;
}

}  // namespace brantel
