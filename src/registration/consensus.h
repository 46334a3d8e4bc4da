// The offset that most matches agree on, and whether it can be believed.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/types.h"
#include "common/worker_pair.h"

namespace brantel {

/// The coordinates of matched points, one list each.
struct PairCoordinates {
    std::vector<float> previousX;
    std::vector<float> previousY;
    std::vector<float> currentX;
    std::vector<float> currentY;
};

/// Tries every pair as the hypothesis and keeps the one with the most pairs within 4 pixels of it; ties keep
/// the earlier one. dx, dy receive its own offset (previous - current), not a mean. Consumes both lists.
/// False, with "ransacMatchSPointArrayFun size 0", for an empty list.
bool ransacMatchSPointArrayFun(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                               std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy,
                               PairCoordinates& scratch);
bool ransacMatchSPointArrayFun(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                               std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy);

/// What one frame's feature stage hands on.
struct FrameFeatures {
    std::vector<CornerPoint> corners;
    std::vector<CornerPoint> consumed;  // the copy that building descriptors uses up
    Buffer<std::uint16_t>
        descriptors;  // descriptorLength values per corner; never null once a frame was described
};

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
/// matches support it. Idle workers lend a hand; may be null.
bool estimateOffset(const FrameFeatures& previous, const FrameFeatures& current, std::int32_t rows,
                    std::int32_t cols, Registration result, EstimationScratch& scratch, WorkerPair* workers);
bool estimateOffset(const FrameFeatures& previous, const FrameFeatures& current, std::int32_t rows,
                    std::int32_t cols, Registration result);

}  // namespace brantel
