#include "reason.h"

#include <cstdlib>

namespace host {

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

Reason reasonForFailure(const std::string& lines) {
    if (contains(lines, "stichingImagedJoint failed")) return Reason::libraryFailure;
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
        case Reason::libraryFailure:
            return "library failure";
    }
    return "";
}

const char* adviceFor(Reason reason) {
    switch (reason) {
        case Reason::tooFewCorners:
            return "the frames show too little structure, or are smaller than 82 x 82";
        case Reason::tooFewMatches:
            return "frames must follow each other and overlap by a quarter or more; a higher --density or "
                   "--positions may help, --on-lost restart begins another mosaic";
        case Reason::shiftTooSmall:
            return "the camera hardly moves";
        case Reason::shiftTooLarge:
            return "the frames hardly overlap";
        case Reason::brightness:
        case Reason::motion:
            return "try without --static";
        default:
            return "";
    }
}

bool isLost(Reason reason) {
    return reason == Reason::tooFewCorners || reason == Reason::tooFewMatches ||
           reason == Reason::shiftTooLarge || reason == Reason::libraryFailure;
}

Reason reasonFor(std::int32_t result, const StitchFlags& record, const std::string& lines,
                 const FrameGeometry& frame, std::int32_t mainMode) {
    if (result == -1) return reasonForFailure(lines);
    if (record.stitch_flags != 1) return mainMode == 0 ? Reason::brightness : Reason::motion;
    return reasonForShift(record, frame);
}

}  // namespace host
