// The positions of all frames of a scan by least squares.
#pragma once

#include <vector>

#include "positions/scan_frame.h"

namespace brantel::render {

constexpr double largestResidual = 3;  ///< pixels; a pair that differs by more from all the others is wrong

/// Moves the frames so that they agree with the pairs: the sum of squared residuals is least, in which pairs that the others contradict count
/// less and less, and not at all from largestResidual on (which marks them as dropped). Frames that nothing was measured for follow the
/// one that the live run found them against, or the nearest one. Every connected part stays where it was in the middle.
/// @param places  of the frames: before, and then solved; frames that are not wanted stay as they are
void solvePositions(const std::vector<ScanFrame>& frames, std::vector<MeasuredPair>& pairs,
                    std::vector<cv::Point2d>& places);

/// Root mean square of the distances between what the pairs that were not dropped say and the places, in pixels; 0 without pairs.
double disagreement(const std::vector<MeasuredPair>& pairs, const std::vector<cv::Point2d>& places);

}  // namespace brantel::render
