// Why a frame was not placed.
#pragma once

#include <cstdint>

namespace brantel::programs {

enum class Reason {
    none,
    unreadable,
    wrongSize,
    tooFewCorners,
    tooFewMatches,
    shiftTooSmall,
    shiftTooLarge,
    brightness,
    motion,
    noPartner,
    nothingJoins,
    noRoomToWait,
    mosaicEnded,
    contradicted,
    outOfMemory,
    libraryFailure
};

/// The name used in reports, for instance "too few matches".
const char* nameOf(Reason reason);

/// True for a frame that is left out because it brings nothing new, as most frames of a slow camera.
bool isNormalSkip(Reason reason);

/// True when the camera's whereabouts are unknown after this frame; false for a frame that just brought
/// nothing.
bool isLost(Reason reason);

/// The reason that a session gives: BRANTEL_NO_REASON and so on.
Reason reasonOf(std::int32_t sessionReason);

}  // namespace brantel::programs
