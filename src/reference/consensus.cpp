#include "reference/consensus.h"

#include <cmath>

#include "common/tuning.h"
#include "reference/matching.h"
#include "registration/matching.h"

namespace brantel::reference {

namespace {

using Points = std::vector<CornerPoint>;

struct Hypothesis {
    float dx;
    float dy;

    Hypothesis(const CornerPoint& previous, const CornerPoint& current)
        : dx(static_cast<float>(previous.x - current.x)), dy(static_cast<float>(previous.y - current.y)) {}

    bool isSupportedBy(const CornerPoint& previous, const CornerPoint& current) const {
        const float ex = (static_cast<float>(current.x) + dx) - static_cast<float>(previous.x);
        const float ey = (static_cast<float>(current.y) + dy) - static_cast<float>(previous.y);
        return 4.0 > static_cast<double>(std::sqrt(ex * ex + ey * ey));
    }
};

}  // namespace

bool ransacMatchSPointArrayFun(const Log& log, Points& previous, Points& current, Points& previousInliers,
                               Points& currentInliers, float* dx, float* dy) {
    if (previous.empty() || current.empty()) {
        log.streamLine("ransacMatchSPointArrayFun size 0");
        previous.clear();
        current.clear();
        return false;
    }
    std::size_t best = 0;
    Hypothesis winner({}, {});
    for (std::size_t k = 0; k < previous.size(); ++k) {
        const Hypothesis hypothesis(previous[k], current[k]);
        std::size_t inliers = 0;
        for (std::size_t m = 0; m < previous.size(); ++m)
            inliers += hypothesis.isSupportedBy(previous[m], current[m]) ? 1 : 0;
        if (inliers <= best) continue;
        best = inliers;
        winner = hypothesis;
    }
    for (std::size_t m = 0; m < previous.size(); ++m) {
        if (!winner.isSupportedBy(previous[m], current[m])) continue;
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
                    std::int32_t rows, std::int32_t cols, Registration result, const StageHook& hook) {
    std::vector<Match> matches;
    std::vector<float> distances(previous.corners.size());
    timed(hook, "matching", [&] {
        return calacDistanceIndexFun(
            log, previous.descriptors.data(), current.descriptors.data(), distances.data(), matchRatio,
            static_cast<std::int32_t>(previous.corners.size()), descriptorLength,
            static_cast<std::int32_t>(current.corners.size()), descriptorLength, matches);
    });
    Points corners[2] = {previous.corners, current.corners};
    Points points[2];
    gatherMatchedPoints(corners[0], corners[1], matches, points[0], points[1]);
    if (points[0].empty()) return false;

    Points inliers[2];
    float dx = 0;
    float dy = 0;
    timed(hook, "consensus", [&] {
        return ransacMatchSPointArrayFun(log, points[0], points[1], inliers[0], inliers[1], &dx, &dy);
    });
    if (inliers[0].empty()) return false;
    if (!(std::fabs(dx) < static_cast<float>(cols) && std::fabs(dy) < static_cast<float>(rows))) return false;
    *result.matchCount = static_cast<std::int32_t>(inliers[0].size());
    if (*result.matchCount <= 10) return false;
    *result.offset = {static_cast<std::int32_t>(dx), static_cast<std::int32_t>(dy)};
    return true;
}

}  // namespace brantel::reference
