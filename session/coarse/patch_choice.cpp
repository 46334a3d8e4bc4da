#include "coarse/patch_choice.h"

#include <algorithm>
#include <cstddef>

namespace brantel::session {

namespace {

constexpr std::int32_t smallestPatch = 8;
constexpr std::int32_t patchStep = 4;
// Among so many patches those with most structure are chosen.
constexpr std::int32_t mostCandidates = 48;

std::int32_t patchSide(std::int32_t wanted, std::int32_t room) {
    return std::min(wanted, room) / patchStep * patchStep;
}

/// What is left of a patch without its plane, by every second row of the guide.
double structureAt(const PatchPlan& plan, const PieceSize& size, const PatchCorner& corner) {
    const LevelView& guide = plan.guide;
    const auto inGuide = [&plan](std::int32_t k) {
        return static_cast<std::int32_t>(std::int64_t{k} * plan.factor / plan.guideFactor);
    };
    const std::int32_t cols = std::clamp(inGuide(size.cols), 1, guide.cols);
    const std::int32_t rows = std::clamp(inGuide(size.rows), 1, guide.rows);
    const std::int32_t left = std::min(inGuide(corner.x), guide.cols - cols);
    const std::int32_t top = std::min(inGuide(corner.y), guide.rows - rows);
    const PieceSize read{cols, (rows + 1) / 2};
    return PlaneFit(read).energy(momentsOf(guide.pixels + top * guide.stride + left, 2 * guide.stride, read));
}

}  // namespace

Span::Span(std::int32_t side, std::int32_t shift, std::int32_t radius)
    : first(std::max(0, shift + radius)), length(std::min(side, side + shift - radius) - first) {}

std::int32_t Span::position(std::int32_t patchSide, std::int32_t index, std::int32_t count) const {
    const std::int32_t room = length - patchSide;
    return first + (count > 1 ? room * index / (count - 1) : room / 2);
}

PatchRoom::PatchRoom(const LevelView& level, const PatchPlan& plan, std::int32_t x, std::int32_t y,
                     std::int32_t radius)
    : lattice{radius},
      across(level.cols, x, radius),
      down(level.rows, y, radius),
      patch{patchSide(plan.side, across.length), patchSide(plan.side, down.length)} {}

bool PatchRoom::suffices() const {
    return patch.cols >= smallestPatch && patch.rows >= smallestPatch;
}

std::vector<PatchCorner> choosePatches(const PatchPlan& plan, const PatchRoom& room) {
    struct Candidate {
        PatchCorner corner;
        double structure;
    };
    std::int32_t columns = room.across.length / room.patch.cols;
    std::int32_t rows = room.down.length / room.patch.rows;
    while (columns * rows > mostCandidates) --(columns > rows ? columns : rows);
    std::vector<Candidate> candidates;
    candidates.reserve(mostCandidates);
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < columns; ++c) {
            const PatchCorner corner{room.across.position(room.patch.cols, c, columns),
                                     room.down.position(room.patch.rows, r, rows)};
            candidates.push_back({corner, structureAt(plan, room.patch, corner)});
        }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.structure > b.structure; });
    std::vector<PatchCorner> corners(std::min(candidates.size(), static_cast<std::size_t>(plan.count)));
    for (std::size_t k = 0; k < corners.size(); ++k) corners[k] = candidates[k].corner;
    return corners;
}

}  // namespace brantel::session
