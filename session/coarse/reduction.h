// The reduced pictures of a frame. Whole numbers throughout, so that every machine finds the same.
#pragma once

#include <cstdint>
#include <vector>

#include "coarse/scales.h"

namespace brantel::session {

/// Means of the middle level's cells, of three rows per cell.
void reduceToMiddle(const std::uint8_t* grey, const Scales& scales, std::vector<std::uint8_t>& middle);

/// Sixteenths of the mean grey values of the coarse level's cells.
void reduceToCoarse(const std::vector<std::uint8_t>& middle, const Scales& scales,
                    std::vector<std::int32_t>& coarse);

}  // namespace brantel::session
