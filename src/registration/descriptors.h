// Orientation histograms around corners.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"
#include "common/worker_pair.h"

namespace brantel {

/// Describes each point by 25 cells of 4 x 4 pixels (a 5 x 5 grid around it, column by column) with 8 bins of
/// 45 degrees each, filled with truncated gradient magnitudes of the full-size grey frame.
///
/// @param frame   rows x cols grey bytes with one zeroed row behind them: the vertical difference of row
///                rows - 2 reads it, and the horizontal one of column cols - 2 reads the next row's first
///                pixel
/// @param length  200 values per descriptor
/// @param window  20 pixels
/// @param points  consumed
/// @param scratch length values, crewSize times as many with workers
/// @param out     length values per point, back to back
/// @param workers idle workers that lend a hand; may be null
/// False, with "src_in ptr is null", without a frame.
bool buildCornerDescriptors(const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out, WorkerPair* workers = nullptr);

/// Truncated length of the gradient (gx, gy), components from -255 to 255.
std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy);

/// Bin 0 to 7 of its direction; bin b covers 45 b to 45 b + 44 whole degrees.
std::int32_t gradientBin(std::int32_t gx, std::int32_t gy);

/// Both as descriptors look them up: 8 * magnitude + bin.
std::int32_t tabulatedGradient(std::int32_t gx, std::int32_t gy);

}  // namespace brantel
