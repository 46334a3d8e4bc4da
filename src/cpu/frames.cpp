// The frames of a call: how they come in, and which of them the next call is measured against.
#include <cstring>

#include "compose/grey.h"
#include "compose/reduction.h"
#include "cpu/state.h"

namespace brantel {

/// An incoming frame at working size: as it is, or reduced into a buffer.
const std::uint8_t* CpuEngine::workingFrame(const std::uint8_t* from, std::int32_t scale,
                                            Buffer<std::uint8_t>& reduced) {
    if (scale == 1) return from;
    reduced.ensure(frame.bytes());
    takeFrame(log, reduced.data(), from, scale, frame);
    return reduced.data();
}

/// A host may hand over one buffer as both frames. Only the first one's zero samples are rewritten.
void CpuEngine::keepApart(const StitchCall& call) {
    const auto distance = reinterpret_cast<std::uintptr_t>(call.firstFrame) -
                          reinterpret_cast<std::uintptr_t>(call.currentFrame);
    const auto bytes = static_cast<std::uintptr_t>(frame.bytes());
    if (current != call.currentFrame || (distance >= bytes && 0 - distance >= bytes)) return;
    currentSide.reduced.ensure(frame.bytes());
    std::memcpy(currentSide.reduced.data(), call.currentFrame, bytes);
    current = currentSide.reduced.data();
}

bool CpuEngine::beginMosaic(const StitchCall& call) {
    fillZeroSamples(call.firstFrame, frame.bytes());
    const std::uint8_t* first = workingFrame(call.firstFrame, call.scale, previousSide.reduced);
    if (!startMosaic(log, mosaic, first, frame)) return false;
    makeGrey(first, frame, previousSide.grey, &workers);
    return true;
}

bool CpuEngine::takeFrames(const StitchCall& call) {
    idle.hurry();
    current = workingFrame(call.currentFrame, call.scale, currentSide.reduced);
    if (call.begins()) {
        keepApart(call);
        if (!beginMosaic(call)) return false;
    }
    makeGrey(current, frame, currentSide.grey, idle.isBusy() ? nullptr : &workers);
    return true;
}

/// The template stays the frame whose place on the canvas is known: in a new mosaic its first frame, whose features
/// were just found, else the one there is.
void CpuEngine::keepTemplate() {
    if (!begins()) return;
    templateGrey.swap(previousSide.grey);
    templateIsDescribed();
}

void CpuEngine::keepAsLastSeen() {
    motion.accept();
}

}  // namespace brantel
