// One frame's road through the CPU backend.
#include <cstring>

#include "common/crew.h"
#include "common/log.h"
#include "compose/judgement.h"
#include "cpu/backend.h"
#include "registration/register_frames.h"

namespace brantel {

namespace {

/// An incoming frame at working size: as it is, or reduced into a buffer.
const std::uint8_t* workingFrame(const CpuBackend& cpu, const std::uint8_t* frame, std::int32_t scale,
                                 Buffer<std::uint8_t>& reduced) {
    if (scale == 1) return frame;
    reduced.ensure(cpu.frame.bytes());
    takeFrame(reduced.data(), frame, scale, cpu.frame);
    return reduced.data();
}

/// A host may hand over one buffer as both frames. Only the first one's zero samples are rewritten.
void keepApart(CpuBackend& cpu, const StitchCall& call, CallFrames* frames) {
    const auto distance = reinterpret_cast<std::uintptr_t>(call.firstFrame) -
                          reinterpret_cast<std::uintptr_t>(call.currentFrame);
    const auto bytes = static_cast<std::uintptr_t>(cpu.frame.bytes());
    if (frames->current != call.currentFrame || (distance >= bytes && 0 - distance >= bytes)) return;
    cpu.currentWorking.ensure(cpu.frame.bytes());
    std::memcpy(cpu.currentWorking.data(), call.currentFrame, bytes);
    frames->current = cpu.currentWorking.data();
}

bool beginMosaic(CpuBackend& cpu, const StitchCall& call, CallFrames* frames) {
    fillZeroSamples(call.firstFrame, cpu.frame.bytes());
    frames->first = workingFrame(cpu, call.firstFrame, call.scale, cpu.previousWorking);
    return startMosaic(cpu.mosaic, frames->first, cpu.frame);
}

/// The previous frame of this call as a grey image. Before a frame was accepted it is black, in which nothing
/// is found: the old mosaic's last frame must not place frames on a new one.
const std::uint8_t* previousGrey(CpuBackend& cpu, const CallFrames& frames) {
    return frames.first == nullptr && cpu.mosaic.hasTemplate ? cpu.previousStore.data()
                                                             : cpu.previousSide.grey.data();
}

void describePrevious(CpuBackend& cpu, const CallFrames& frames) {
    const ImageDesc record{0, cpu.frame.channels, cpu.frame.rows, cpu.frame.cols};
    const bool fromTemplate = frames.first == nullptr && cpu.mosaic.hasTemplate;
    cpu.templateFeatures.valid = false;
    if (frames.first != nullptr) {
        makeGrey(frames.first, record, cpu.previousSide.grey, nullptr);
    } else if (!fromTemplate) {
        cpu.previousSide.grey.ensure(record.pixels() + record.cols);
        std::memset(cpu.previousSide.grey.data(), 0, static_cast<std::size_t>(record.pixels() + record.cols));
    }
    describeGrey(cpu.previousSide, previousGrey(cpu, frames), record.rows, record.cols, cpu.expected,
                 cpu.tuning);
    // A template without corners is described again each time: it has something to say about that.
    cpu.templateFeatures = {fromTemplate && !cpu.previousSide.features.corners.empty(), cpu.expected};
}

/// The first frame of a new mosaic becomes the template, with the features found in it.
void keepFirstAsTemplate(CpuBackend& cpu, const CallFrames& frames) {
    if (frames.first == nullptr) return;
    cpu.previousStore.swap(cpu.previousSide.grey);
    cpu.templateFeatures = {true, cpu.expected};
    cpu.mosaic.hasTemplate = true;
}

void measureOverlap(CpuBackend& cpu, const CallFrames& frames) {
    if (!cpu.mosaic.templateOnCanvas)
        return measureBrightness(cpu.mosaic, frames.current, cpu.frame, cpu.overlap, &cpu.workers);
    // What the canvas holds where the frames overlap is the template's part, whose grey image is at hand.
    const OverlapRegions parts = overlapRegions({0, 0}, cpu.mosaic.offset(), cpu.frame.rows, cpu.frame.cols);
    const auto greyPart = [&cpu](const std::uint8_t* grey, const Region& region) {
        return GreyPart{grey + std::int64_t{region.rowStart} * cpu.frame.cols + region.colStart,
                        cpu.frame.cols, region.rowEnd - region.rowStart, region.colEnd - region.colStart};
    };
    recordBrightness(cpu.mosaic.record, greyPart(previousGrey(cpu, frames), parts.canvas),
                     greyPart(cpu.currentSide.grey.data(), parts.frame), &cpu.workers);
}

void judgeByMotion(CpuBackend& cpu, const CallFrames& frames) {
    const std::uint8_t* first = frames.first == nullptr ? nullptr : cpu.previousSide.grey.data();
    const std::int64_t motion =
        cpu.motion.measure(first, cpu.currentSide.grey.data(), cpu.frame.rows, cpu.frame.cols, &cpu.workers);
    judgeMotion(cpu.mosaic.record, stitchModes(), motion);
}

bool stitchFrame(CpuBackend& cpu, const StitchCall& call) {
    MosaicBackup backup(cpu.mosaic);
    CallFrames frames{};
    const bool judged = stitchingImageOffset(cpu, call, &frames);
    const bool done =
        judged && mergeIfSuitable(
                      cpu.mosaic, cpu.frame, [&] { return stitchingImageImageblend(cpu, frames); },
                      [&] { keepFirstAsTemplate(cpu, frames); });
    if (cpu.workers.broke()) return false;
    backup.keepChanges();
    if (done && stitchModes().GStitchMainMode != 0) cpu.motion.accept();
    return done;
}

bool stitch(CpuBackend& cpu, const StitchCall& call) {
    if (!cpu.ready) return false;
    if (!cpu.buffersHoldFrame()) {
        streamLine("ptr is null");  // a second initialisation asked for larger frames than the first
        return false;
    }
    return stitchFrame(cpu, call);
}

}  // namespace

bool imageMosaicFun(CpuBackend& cpu, const CallFrames& frames) {
    if (frames.current == nullptr) {
        streamLine("imageMosaicFun ptr is null");
        return false;
    }
    const ImageDesc record{0, cpu.frame.channels, cpu.frame.rows, cpu.frame.cols};
    const bool known =
        frames.first == nullptr && cpu.mosaic.hasTemplate && cpu.templateFeatures.serve(cpu.expected);
    const DetectionHelp help{&cpu.workers, &cpu.seam.canvasDistances.spareMemory()};
    auto model = [&] { describePrevious(cpu, frames); };
    auto match = [&] {
        describeGrey(cpu.currentSide, cpu.currentSide.grey.data(), record.rows, record.cols, cpu.expected,
                     cpu.tuning, known ? &help : nullptr);
    };
    // Before the jobs: the previous frame of a stream is grey already, so that its worker would be done
    // early.
    makeGrey(frames.current, record, cpu.currentSide.grey, &cpu.workers);
    FrameFeatures& previous = cpu.previousSide.features;
    FrameFeatures& current = cpu.currentSide.features;
    StitchFlags& found = cpu.mosaic.record;
    if (known)
        return registerFrame(cpu.workers, Job::of(match), previous, current, record.rows, record.cols, found,
                             cpu.estimation);
    return registerFrames(cpu.workers, Job::of(model), Job::of(match), previous, current, record.rows,
                          record.cols, found, cpu.estimation);
}

bool stitchingImageOffset(CpuBackend& cpu, const StitchCall& call, CallFrames* frames) {
    const bool begins = call.continueFlag == 0;
    if (call.currentFrame == nullptr || (begins && call.firstFrame == nullptr)) {
        streamLine("stitchingImageOffset ptr is null");
        return false;
    }
    frames->current = workingFrame(cpu, call.currentFrame, call.scale, cpu.currentWorking);
    if (begins) {
        keepApart(cpu, call, frames);
        if (!beginMosaic(cpu, call, frames)) return false;
    }
    if (!imageMosaicFun(cpu, *frames)) return false;
    if (!holdsFramesOf(cpu.mosaic, cpu.frame)) return false;
    if (stitchModes().GStitchMainMode != 0) {
        judgeByMotion(cpu, *frames);
    } else {
        measureOverlap(cpu, *frames);
        if (begins) cpu.motion.setGrey(cpu.previousSide.grey.data(), cpu.frame.pixels());
        judgeBrightness(cpu.mosaic.record, stitchModes(), cpu.frame.rows, cpu.frame.cols);
    }
    return true;
}

bool stitchingImageImageblend(CpuBackend& cpu, const CallFrames& frames) {
    if (frames.current == nullptr) {
        streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const FrameSize& size = cpu.frame;
    const SeamFrame frame(frames.current, cpu.currentSide.grey.data(), size);
    cpu.seam.ensure(size, frame.isFull);
    cpu.previousStore.ensure(size.pixels() + size.cols);
    const bool merged = mergeInPlace(cpu.mosaic, size, &cpu.workers, [&](const CanvasWindow& window) {
        blendSeam(window, frame, size, cpu.seam, cpu.previousStore.data(), &cpu.workers);
        return true;
    });
    if (!merged) return false;
    std::memset(cpu.previousStore.data() + size.pixels(), 0, static_cast<std::size_t>(size.cols));
    cpu.previousSide.grey.reset();  // only the first frame of a mosaic needs it
    cpu.templateFeatures.valid = false;
    cpu.mosaic.hasTemplate = true;
    cpu.mosaic.templateOnCanvas = true;
    cpu.previousDesc = {0, cpu.mosaic.canvas.channels(), size.rows, size.cols};
    return true;
}

std::int32_t stichingImagedJointCpu(const StitchCall& call) {
    CpuBackend& cpu = cpuBackend();
    cpu.expected = call.expected;
    return answerStitchCall(call, cpu.mosaic, cpu.limitA, cpu.limitB, [&] { return stitch(cpu, call); });
}

}  // namespace brantel
