#include "registration/consensus.h"

#include <cmath>

#include "common/tuning.h"
#include "registration/matching.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr double inlierTolerance = 4.0;
constexpr std::int32_t minimumInliers = 11;

struct Hypothesis {
    float dx;
    float dy;
};

Hypothesis hypothesisOf(const CornerPoint& previous, const CornerPoint& current) {
    return {static_cast<float>(previous.x - current.x), static_cast<float>(previous.y - current.y)};
}

bool agrees(const Hypothesis& h, const CornerPoint& previous, const CornerPoint& current) {
    const float ex = (static_cast<float>(current.x) + h.dx) - static_cast<float>(previous.x);
    const float ey = (static_cast<float>(current.y) + h.dy) - static_cast<float>(previous.y);
    return inlierTolerance > static_cast<double>(std::sqrt(ex * ex + ey * ey));
}

void separate(const std::vector<CornerPoint>& points, std::vector<float>& x, std::vector<float>& y) {
    x.clear();
    y.clear();
    for (const CornerPoint& point : points) {
        x.push_back(static_cast<float>(point.x));
        y.push_back(static_cast<float>(point.y));
    }
}

}  // namespace

bool ransacMatchSPointArrayFun(const Log& log, std::vector<CornerPoint>& previous,
                               std::vector<CornerPoint>& current, std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy,
                               PairCoordinates& scratch) {
    if (previous.empty() || current.empty()) {
        log.streamLine("ransacMatchSPointArrayFun size 0");
        previous.clear();
        current.clear();
        return false;
    }
    separate(previous, scratch.previousX, scratch.previousY);
    separate(current, scratch.currentX, scratch.currentY);
    const auto countInliers = simd::kernels().countInliers;
    std::int64_t best = 0;
    Hypothesis winner{};
    for (std::size_t k = 0; k < previous.size(); ++k) {
        const Hypothesis h = hypothesisOf(previous[k], current[k]);
        const std::int64_t inliers =
            countInliers(scratch.previousX.data(), scratch.previousY.data(), scratch.currentX.data(),
                         scratch.currentY.data(), static_cast<std::int64_t>(previous.size()), h.dx, h.dy);
        if (inliers > best) {
            best = inliers;
            winner = h;
        }
    }
    for (std::size_t m = 0; m < previous.size(); ++m)
        if (agrees(winner, previous[m], current[m])) {
            previousInliers.push_back(previous[m]);
            currentInliers.push_back(current[m]);
        }
    *dx = winner.dx;
    *dy = winner.dy;
    previous.clear();
    current.clear();
    return true;
}

bool estimateOffset(const Log& log, const FrameFeatures& previous, const FrameFeatures& current,
                    std::int32_t rows, std::int32_t cols, Registration result, EstimationScratch& scratch,
                    WorkerPair* workers) {
    scratch.distances.resize(loopThreads * previous.corners.size());
    scratch.matches.clear();
    calacDistanceIndexFun(
        log, previous.descriptors.data(), current.descriptors.data(), scratch.distances.data(), matchRatio,
        static_cast<std::int32_t>(previous.corners.size()), descriptorLength,
        static_cast<std::int32_t>(current.corners.size()), descriptorLength, scratch.matches, workers);

    scratch.previousCorners = previous.corners;
    scratch.currentCorners = current.corners;
    for (std::vector<CornerPoint>* list :
         {&scratch.previousPoints, &scratch.currentPoints, &scratch.previousInliers, &scratch.currentInliers})
        list->clear();
    gatherMatchedPoints(scratch.previousCorners, scratch.currentCorners, scratch.matches,
                        scratch.previousPoints, scratch.currentPoints);
    if (scratch.previousPoints.empty()) return false;

    float dx = 0;
    float dy = 0;
    ransacMatchSPointArrayFun(log, scratch.previousPoints, scratch.currentPoints, scratch.previousInliers,
                              scratch.currentInliers, &dx, &dy, scratch.coordinates);
    if (scratch.previousInliers.empty() || scratch.currentInliers.empty()) return false;
    if (!(std::fabs(dx) < static_cast<float>(cols) && std::fabs(dy) < static_cast<float>(rows))) return false;
    *result.matchCount = static_cast<std::int32_t>(scratch.previousInliers.size());
    if (*result.matchCount < minimumInliers) return false;
    result.offset->x = static_cast<std::int32_t>(dx);
    result.offset->y = static_cast<std::int32_t>(dy);
    return true;
}

}  // namespace brantel
