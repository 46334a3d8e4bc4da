// Where in an overlap patches are compared.
#pragma once

#include <cstdint>
#include <vector>

#include "coarse/patch.h"

namespace brantel::session {

/// How a level is refined.
struct PatchPlan {
    std::int32_t side;    // of the patches, where the overlap allows it
    std::int32_t count;   // of patches, at most
    std::int32_t radius;  // of the shifts tried, in pixels of the level
    std::int32_t factor;  // full-size pixels per pixel of the level
    LevelView guide;      // the previous frame at a level that costs little to read, to find structure in
    std::int32_t guideFactor;  // full-size pixels per pixel of the guide
};

/// Where in the previous frame patches may lie along one axis, so that the whole lattice around a shift stays
/// inside the current frame.
struct Span {
    std::int32_t first;
    std::int32_t length;

    Span(std::int32_t side, std::int32_t shift, std::int32_t radius);
    /// Where a patch of so many that cover the span evenly begins.
    std::int32_t position(std::int32_t patchSide, std::int32_t index, std::int32_t count) const;
};

/// The room for patches at a shift.
struct PatchRoom {
    Lattice lattice;
    Span across;
    Span down;
    PieceSize patch;  // as large as the plan and the room allow

    PatchRoom(const LevelView& level, const PatchPlan& plan, std::int32_t x, std::int32_t y,
              std::int32_t radius);
    bool suffices() const;
};

/// The top-left pixel of a patch in the previous frame.
struct PatchCorner {
    std::int32_t x;
    std::int32_t y;
};

/// Patches that cover the room evenly, as many as the plan allows; those with most structure, and these first.
std::vector<PatchCorner> choosePatches(const PatchPlan& plan, const PatchRoom& room);

}  // namespace brantel::session
