#include "stitch/reason.h"

#include <cstdlib>

namespace brantel::programs {

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

Reason reasonForFailure(const std::string& lines) {
    if (tellsOfMemory(lines)) return Reason::outOfMemory;
    if (contains(lines, "stichingImagedJoint failed:") || contains(lines, "worker job failed:"))
        return Reason::libraryFailure;
    // "HarrissCornerSPoint size is 0" on the CPU, the same with digits inside on the GPU.
    if (contains(lines, "HarrissCornerSPoint")) return Reason::tooFewCorners;
    return Reason::tooFewMatches;
}

/// The shift was measured and the frame passed its test, yet it was not merged: the shift is out of bounds.
Reason reasonForShift(const StitchFlags& record, const FrameGeometry& frame) {
    const std::int32_t x = std::abs(record.offset.x);
    const std::int32_t y = std::abs(record.offset.y);
    const std::int32_t shift = x > y ? x : y;
    const std::int32_t side = x > y ? frame.columns : frame.rows;
    return 2 * shift < side ? Reason::shiftTooSmall : Reason::shiftTooLarge;
}

}  // namespace

bool tellsOfMemory(const std::string& lines) {
    // What the library puts behind "failed:" are texts of exceptions: of the standard library, of OpenCV.
    return contains(lines, "failed: std::bad_alloc") || contains(lines, "Insufficient memory");
}

const char* nameOf(Reason reason) {
    switch (reason) {
        case Reason::none:
            break;
        case Reason::unreadable:
            return "unreadable";
        case Reason::wrongSize:
            return "wrong size";
        case Reason::tooFewCorners:
            return "too few corners";
        case Reason::tooFewMatches:
            return "too few matches";
        case Reason::shiftTooSmall:
            return "shift below 10 %";
        case Reason::shiftTooLarge:
            return "shift beyond 90 %";
        case Reason::brightness:
            return "brightness";
        case Reason::motion:
            return "motion";
        case Reason::noPartner:
            return "no frame joined it";
        case Reason::contradicted:
            return "no shift where one was expected";
        case Reason::outOfMemory:
            return "out of memory";
        case Reason::libraryFailure:
            return "library failure";
    }
    return "";
}

bool isNormalSkip(Reason reason) {
    return reason == Reason::shiftTooSmall;
}

bool isLost(Reason reason) {
    return reason == Reason::tooFewCorners || reason == Reason::tooFewMatches ||
           reason == Reason::shiftTooLarge || reason == Reason::contradicted ||
           reason == Reason::outOfMemory || reason == Reason::libraryFailure;
}

Reason reasonFor(std::int32_t result, const StitchFlags& record, const std::string& lines,
                 const FrameGeometry& frame, std::int32_t mainMode) {
    if (result == -1) return reasonForFailure(lines);
    if (record.stitch_flags != 1) return mainMode == 0 ? Reason::brightness : Reason::motion;
    return reasonForShift(record, frame);
}

}  // namespace brantel::programs
