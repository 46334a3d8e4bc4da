#include "coarse/verdict.h"

#include <algorithm>
#include <cmath>

namespace brantel::session {

namespace {

// The thresholds come from some thousand pairs of real frames with and without overlap. Whoever changes one
// repeats that test: no pair without overlap may become certain.
constexpr double certainStrength = 2.5;
constexpr double certainVotes = 0.6;
// Where so much likeness is left elsewhere, the content repeats itself.
constexpr double greatestRival = 0.85;
// One pixel beside the shift the likeness has to fall by so much (see leads()): along an edge, and on clouds, it does
// not, and the shift is anybody's guess. At the finest or at the middle level: noise hides it at the former.
constexpr double finestFall = 1.1051709;  // 0.05
constexpr double middleFall = 1.2214028;  // 0.1
// What is burnt in or lies on the sensor does not move: a shift of nothing needs more than that.
constexpr double stillDistance = 2;  // full-size pixels
constexpr double stillStrength = 8;
constexpr double stillVotes = 0.9;
// Both levels mean the same place, in pixels of the middle level.
constexpr double levelAgreement = 1.5;
// Less is not worth the corners' time.
constexpr double doubtfulStrength = 1;
constexpr double doubtfulLead = 1.2214028;  // 0.1

double strengthOf(const JointPeak& peak) {
    return peak.likeness * peak.likeness * peak.support;
}

double votesOf(const RefinedPlace& place) {
    return std::min(place.middle.votes, place.finest.votes);
}

bool isWithin(double x, double y, double distance) {
    return std::abs(x) <= distance && std::abs(y) <= distance;
}

bool isDistinct(const RefinedPlace& place) {
    return leads(place.finest.likeness, place.finest.beside, finestFall) ||
           leads(place.middle.likeness, place.middle.beside, middleFall);
}

bool isMoreThanStill(const RefinedPlace& place) {
    return !isWithin(place.finest.x, place.finest.y, stillDistance) ||
           (place.strength() >= stillStrength && votesOf(place) >= stillVotes);
}

}  // namespace

double RefinedPlace::likeness() const {
    return finest.found ? std::min(middle.likeness, finest.likeness) : middle.likeness;
}

double RefinedPlace::strength() const {
    return std::min(strengthOf(middle), strengthOf(finest));
}

bool leads(double likeness, double other, double ratio) {
    return (1 + likeness) * (1 - other) >= ratio * (1 - likeness) * (1 + other);
}

CoarseVerdict judge(const RefinedPlace& best, double rival, std::int32_t middleFactor) {
    if (!best.finest.found) return CoarseVerdict::none;
    const bool certain = best.strength() >= certainStrength && votesOf(best) >= certainVotes &&
                         rival <= greatestRival && leads(best.likeness(), rival, certainLead) &&
                         isWithin(best.finest.x - best.middle.x, best.finest.y - best.middle.y,
                                  levelAgreement * middleFactor) &&
                         isDistinct(best) && isMoreThanStill(best);
    if (certain) return CoarseVerdict::certain;
    return best.strength() >= doubtfulStrength && leads(best.likeness(), rival, doubtfulLead)
               ? CoarseVerdict::doubtful
               : CoarseVerdict::none;
}

double confidenceOf(CoarseVerdict verdict, const RefinedPlace& best) {
    if (verdict == CoarseVerdict::none) return 0;
    const double agreement = best.likeness() * votesOf(best);
    return (verdict == CoarseVerdict::certain ? 1 + agreement : agreement) / 2;
}

}  // namespace brantel::session
