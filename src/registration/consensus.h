// The offset that most matches agree on, and whether it can be believed.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/types.h"
#include "common/worker_pair.h"
#include "registration/features.h"

namespace brantel {

/// The coordinates of matched points, one list each.
struct PairCoordinates {
    std::vector<float> previousX;
    std::vector<float> previousY;
    std::vector<float> currentX;
    std::vector<float> currentY;
};

/// Tries every pair as the hypothesis and keeps the one with the most pairs within 4 pixels of it; ties keep
/// the earlier one. dx, dy receive its own offset (previous - current), not a mean (quirk 33). Consumes both lists.
/// False, with "ransacMatchSPointArrayFun size 0", for an empty list.
bool ransacMatchSPointArrayFun(const Log& log, std::vector<CornerPoint>& previous,
                               std::vector<CornerPoint>& current, std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy,
                               PairCoordinates& scratch);

/// What registration came to.
struct Registration {
    Offset* offset;            // written on success only
    std::int32_t* matchCount;  // written whenever the offset lies within the frame, also when it then fails
};

/// What estimation keeps between frames.
struct EstimationScratch {
    std::vector<Match> matches;
    std::vector<float> distances;
    std::vector<CornerPoint> previousCorners;
    std::vector<CornerPoint> currentCorners;
    std::vector<CornerPoint> previousPoints;
    std::vector<CornerPoint> currentPoints;
    std::vector<CornerPoint> previousInliers;
    std::vector<CornerPoint> currentInliers;
    PairCoordinates coordinates;
};

/// Matches two frames' features and accepts the offset when it is smaller than the frame and more than 10
/// matches support it. Idle workers help; may be null.
bool estimateOffset(const Log& log, const FrameFeatures& previous, const FrameFeatures& current,
                    std::int32_t rows, std::int32_t cols, Registration result, EstimationScratch& scratch,
                    WorkerPair* workers);

}  // namespace brantel
