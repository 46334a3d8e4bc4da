#include "stitch/reason.h"

#include <brantel/session.h>

namespace brantel::programs {

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
        case Reason::nothingJoins:
            return "nothing joins it";
        case Reason::noRoomToWait:
            return "no room to wait";
        case Reason::mosaicEnded:
            return "its mosaic ended";
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
           reason == Reason::shiftTooLarge || reason == Reason::nothingJoins ||
           reason == Reason::noRoomToWait || reason == Reason::contradicted ||
           reason == Reason::outOfMemory || reason == Reason::libraryFailure;
}

Reason reasonOf(std::int32_t sessionReason) {
    switch (sessionReason) {
        case BRANTEL_NO_REASON:
            return Reason::none;
        case BRANTEL_SHIFT_TOO_SMALL:
            return Reason::shiftTooSmall;
        case BRANTEL_SHIFT_TOO_LARGE:
            return Reason::shiftTooLarge;
        case BRANTEL_TOO_FEW_CORNERS:
            return Reason::tooFewCorners;
        case BRANTEL_TOO_FEW_MATCHES:
            return Reason::tooFewMatches;
        case BRANTEL_BRIGHTNESS:
            return Reason::brightness;
        case BRANTEL_MOTION:
            return Reason::motion;
        case BRANTEL_NOTHING_JOINS:
            return Reason::nothingJoins;
        case BRANTEL_NO_ROOM_TO_WAIT:
            return Reason::noRoomToWait;
        case BRANTEL_MAP_ENDED:
            return Reason::mosaicEnded;
        default:
            return Reason::libraryFailure;
    }
}

}  // namespace brantel::programs
