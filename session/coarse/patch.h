// A small patch of one picture, compared with those of another one around its expected place.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "coarse/piece.h"

namespace brantel::session {

constexpr std::int32_t largestPatch = 32;
constexpr std::int32_t largestRadius = 3;
constexpr std::int32_t largestLattice = (2 * largestRadius + 1) * (2 * largestRadius + 1);

/// The shifts around an expected one that are tried, up to a radius in x and in y. They are numbered row by row.
struct Lattice {
    std::int32_t radius;

    std::int32_t side() const { return 2 * radius + 1; }
    std::int32_t count() const { return side() * side(); }
    std::int32_t centre() const { return count() / 2; }
    std::int32_t x(std::int32_t index) const { return index % side() - radius; }
    std::int32_t y(std::int32_t index) const { return index / side() - radius; }
};

/// One value for each shift of a lattice.
using LatticeValues = std::array<double, largestLattice>;

/// How a patch compares, in squared grey levels. Planes are taken out of all patches first.
struct PatchLikeness {
    double energy = 0;  // of the previous frame's patch
    LatticeValues covariance{};
    LatticeValues currentEnergy{};
};

/// Where a patch lies in the previous frame, and where in the current one at the expected shift.
struct PatchPlace {
    std::int32_t x;
    std::int32_t y;
    std::int32_t currentX;
    std::int32_t currentY;
};

/// Compares a patch of at most largestPatch x largestPatch. The patches of all shifts must lie within the
/// pictures.
void comparePatch(const LevelView& previous, const LevelView& current, const PatchPlace& place,
                  const PieceSize& size, const Lattice& lattice, PatchLikeness& likeness);

}  // namespace brantel::session
