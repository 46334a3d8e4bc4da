#include "engine/engine.h"

#include "common/guard.h"
#include "compose/acceptance.h"
#include "engine/mosaic_backup.h"
#include "engine/shift_limits.h"

namespace brantel {

namespace {

std::int32_t wrappedProduct(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// True when there is a canvas that frames of this kind can be merged into.
bool holdsFramesOf(const Mosaic& mosaic, const ImageDesc& frame) {
    return !mosaic.canvas.empty() && mosaic.canvas.channels() == frame.channels;
}

}  // namespace

std::int32_t Engine::stichingImagedJoint(const StitchCall& call) {
    if (call.currentFrame == nullptr)
        log.streamLine("thedestImage is NULL");  // and on: the offset stage refuses it
    const bool done =
        succeeds(log, "stichingImagedJoint", [&] { return stitchFrame(call) == StepEnd::done; });
    writeOutputs(call);
    if (done) useIdleTime();
    return done ? areaResult() : -1;
}

StepEnd Engine::stitchFrame(const StitchCall& call) {
    expected = call.expected;
    MosaicBackup backup(mosaic);
    brokeOff_ = false;
    const bool done = stitchingImageOffset(call) && mergeIfSuitable();
    if (brokeOff_) return StepEnd::brokenOff;
    backup.keepChanges();
    // A first frame that nothing was accepted after is no template: the host has to start again.
    if (mosaic.templateState == TemplateState::first) mosaic.templateState = TemplateState::none;
    if (done && modes.byMotion()) keepAsLastSeen();
    return done ? StepEnd::done : StepEnd::refused;
}

bool Engine::stitchingImageOffset(const StitchCall& call) {
    if (!ready || workers.areInherited()) return false;
    if (!buffersHoldFrame()) {
        log.streamLine("ptr is null");  // a second initialisation asked for larger frames than the first
        return false;
    }
    if (call.currentFrame == nullptr || (call.begins() && call.firstFrame == nullptr)) {
        log.streamLine("stitchingImageOffset ptr is null");
        return false;
    }
    return takeFrames(call) && imageMosaicFun() && holdsFramesOf(mosaic, frame) && judge();
}

bool Engine::judge() {
    if (!modes.byMotion()) {
        if (!measureBrightness()) return false;
        judgeBrightness(mosaic.record, modes.strict(), frame.rows, frame.cols);
        return true;
    }
    std::int64_t motion = 0;
    if (!measureMotion(&motion)) return false;
    judgeMotion(mosaic.record, modes.strict(), motion);
    return true;
}

/// A frame that failed its test changes nothing.
bool Engine::mergeIfSuitable() {
    if (mosaic.record.stitch_flags != 1) return true;
    const std::int32_t shift = mergeableShift();
    if (shift < 0) {
        keepTemplate();
        return true;
    }
    if (!stitchingImageImageblend()) return false;
    log.streamLine("kkkkkkkkkkkkkkkkkkkkkkk", shift);
    return true;
}

/// The larger component of the record's offset if the frame may be merged: more than a tenth and less than
/// nine tenths of the frame's side in that direction, and more than 10 matches; else -1.
std::int32_t Engine::mergeableShift() const {
    const FrameShift shift = frameShift(mosaic.offset(), frame.rows, frame.cols);
    const bool mergeable = shift.size == ShiftSize::fits && mosaic.record.matchCount >= minimumMatches;
    return mergeable ? shift.length : -1;
}

/// Hands canvas, bounds and record to the caller; null pointers are skipped.
void Engine::writeOutputs(const StitchCall& call) const {
    if (call.mosaic != nullptr) *call.mosaic = mosaic.canvas;
    if (call.minCorner != nullptr) *call.minCorner = {mosaic.minimum.x, mosaic.minimum.y};
    if (call.maxCorner != nullptr) *call.maxCorner = {mosaic.maximum.x, mosaic.maximum.y};
    if (call.flags != nullptr) *call.flags = mosaic.record;
}

/// 1 when the canvas area has reached limitA * limitB, else 0. Both products are signed 32-bit and wrap.
std::int32_t Engine::areaResult() const {
    return wrappedProduct(mosaic.canvas.cols, mosaic.canvas.rows) >= wrappedProduct(limitA, limitB) ? 1 : 0;
}

}  // namespace brantel
