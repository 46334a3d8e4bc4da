#include "plain/consensus.h"

#include <cmath>

#include "common/tuning.h"
#include "plain/matching.h"

namespace brantel::plain {

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

}  // namespace

bool ransacMatchSPointArrayFun(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                               std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy) {
    if (previous.empty() || current.empty()) {
        previous.clear();
        current.clear();
        return false;
    }
    std::size_t best = 0;
    Hypothesis winner{};
    for (std::size_t k = 0; k < previous.size(); ++k) {
        const Hypothesis h = hypothesisOf(previous[k], current[k]);
        std::size_t inliers = 0;
        for (std::size_t m = 0; m < previous.size(); ++m)
            inliers += agrees(h, previous[m], current[m]) ? 1 : 0;
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

bool estimateOffset(const FrameFeatures& previous, const FrameFeatures& current, std::int32_t rows,
                    std::int32_t cols, Registration result, const StageHook& hook) {
    std::vector<Match> matches;
    std::vector<float> distances(previous.corners.size());
    timed(hook, "matching", [&] {
        return calacDistanceIndexFun(
            previous.descriptors.data(), current.descriptors.data(), distances.data(), matchRatio,
            static_cast<std::int32_t>(previous.corners.size()), descriptorLength,
            static_cast<std::int32_t>(current.corners.size()), descriptorLength, matches);
    });

    std::vector<CornerPoint> previousCorners = previous.corners;
    std::vector<CornerPoint> currentCorners = current.corners;
    std::vector<CornerPoint> previousPoints;
    std::vector<CornerPoint> currentPoints;
    gatherMatchedPoints(previousCorners, currentCorners, matches, previousPoints, currentPoints);
    if (previousPoints.empty()) return false;

    std::vector<CornerPoint> previousInliers;
    std::vector<CornerPoint> currentInliers;
    float dx = 0;
    float dy = 0;
    timed(hook, "consensus", [&] {
        return ransacMatchSPointArrayFun(previousPoints, currentPoints, previousInliers, currentInliers, &dx,
                                         &dy);
    });
    if (previousInliers.empty() || currentInliers.empty()) return false;
    if (!(std::fabs(dx) < static_cast<float>(cols) && std::fabs(dy) < static_cast<float>(rows))) return false;
    *result.matchCount = static_cast<std::int32_t>(previousInliers.size());
    if (*result.matchCount < minimumInliers) return false;
    result.offset->x = static_cast<std::int32_t>(dx);
    result.offset->y = static_cast<std::int32_t>(dy);
    return true;
}

}  // namespace brantel::plain
