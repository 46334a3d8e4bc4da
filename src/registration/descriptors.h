// Orientation histograms around corners.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"
#include "common/worker_pair.h"
#include "registration/features.h"

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
/// @param scratch length values, loopThreads times as many with workers
/// @param out     length values per point, back to back
/// @param workers idle workers that help; may be null
/// False, with "src_in ptr is null", without a frame.
bool buildCornerDescriptors(const Log& log, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out, WorkerPair* workers);

/// Describes the corners that were found in a grey frame (rows x cols and a zeroed row behind it). scratch is
/// the descriptor builder's. Idle workers help; may be null.
void describeCorners(const Log& log, FrameFeatures& features, const std::uint8_t* grey, std::int32_t rows,
                     std::int32_t cols, std::vector<std::uint16_t>& scratch, WorkerPair* workers);

}  // namespace brantel
