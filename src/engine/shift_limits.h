// Which shifts between two frames are worth merging.
#pragma once

#include <cstdint>

#include "common/types.h"

namespace brantel {

/// Matches that must support an offset before a frame is merged at it.
constexpr std::int32_t minimumMatches = 11;

enum class ShiftSize {
    tooSmall,  ///< a tenth of the frame's side or less: the frame shows nothing new
    fits,
    tooLarge,  ///< nine tenths or more: the frames hardly overlap
};

/// The larger component of an offset, and how it compares with the frame's side in that direction.
struct FrameShift {
    std::int32_t length;
    ShiftSize size;
};
FrameShift frameShift(Offset offset, std::int32_t rows, std::int32_t cols);

}  // namespace brantel
