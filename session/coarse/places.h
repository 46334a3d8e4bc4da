// The shifts that are worth a closer look.
#pragma once

#include <cstdint>
#include <vector>

#include "coarse/shift_map.h"

namespace brantel::session {

/// A peak of the map.
struct Place {
    std::int32_t x;
    std::int32_t y;
    double likeness;
    double fineX = 0;  // with fractions
    double fineY = 0;
};

/// Shifts from (left, top) to (right, bottom), both included.
struct ShiftWindow {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

/// The three best peaks of the window, and the three best ones by likeness x sqrt(overlap area), which are large
/// overlaps with moderate likeness; no place twice. Best likeness first.
std::vector<Place> findPlaces(const ShiftMap& map, const Level& level, const ShiftWindow& window);

/// How far the peak of a parabola through three values, the middle one greatest, lies from the middle: -0.5 to
/// 0.5.
double parabolaPeak(double before, double middle, double behind);

}  // namespace brantel::session
