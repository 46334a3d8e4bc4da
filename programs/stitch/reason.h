// Why a frame was not placed.
#pragma once

#include <brantel/brantel.h>

#include <string>

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

/// True when the library's lines say that it ran out of memory.
bool tellsOfMemory(const std::string& lines);

struct FrameGeometry {
    std::int32_t rows;
    std::int32_t columns;
    std::int32_t channels;
};

/// The reason, worked out from what a call left behind.
/// @param result    what stichingImagedJoint returned for a frame that was not merged
/// @param record    the record it wrote
/// @param lines     what the library wrote to standard output meanwhile: the record does not tell a frame
///                  without corners from one whose corners found no partners, the lines do
/// @param mainMode  as given to initJoint
Reason reasonFor(std::int32_t result, const StitchFlags& record, const std::string& lines,
                 const FrameGeometry& frame, std::int32_t mainMode);

}  // namespace brantel::programs
