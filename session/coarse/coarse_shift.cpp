#include "coarse/coarse_shift.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "coarse/flatten.h"
#include "coarse/reduction.h"

namespace brantel::session {

namespace {

constexpr std::int32_t middlePatch = 24;
constexpr std::int32_t middleCount = 16;
constexpr std::int32_t middleRadius = 3;  // half a pixel of the coarse level is two or three here
constexpr std::int32_t finestPatch = 32;
constexpr std::int32_t finestCount = 24;
constexpr std::int32_t finestRadius = 2;
// Places that end up nearer than this, in pixels of the middle level, are one.
constexpr double samePlace = 4;

LevelView viewOf(const std::vector<std::uint8_t>& pixels, const Level& level) {
    return {pixels.data(), level.cols, 1, level.rows, level.cols};
}

bool isSame(const JointPeak& a, const JointPeak& b, double distance) {
    return std::abs(a.x - b.x) < distance && std::abs(a.y - b.y) < distance;
}

void scale(JointPeak& peak, std::int32_t factor) {
    peak.x *= factor;
    peak.y *= factor;
}

/// Likeness of the places behind the first.
double rivalOf(const std::vector<RefinedPlace>& places) {
    double rival = 0;
    for (std::size_t i = 1; i < places.size(); ++i) rival = std::max(rival, places[i].likeness());
    return rival;
}

}  // namespace

CoarseMatcher::CoarseMatcher(std::int32_t rows, std::int32_t cols)
    : scales_(Scales::of(rows, cols)), map_(scales_.coarse) {}

void CoarseMatcher::prepare(const std::uint8_t* grey, CoarseFrame& frame) {
    frame.dropSpectrum();
    reduceToMiddle(grey, scales_, frame.middle_);
    reduceToCoarse(frame.middle_, scales_, coarsePicture_);
    flatten(coarsePicture_, scales_.coarse.rows, scales_.coarse.cols, frame.coarse_);
    comparable(frame);
}

Comparable CoarseMatcher::comparable(CoarseFrame& frame) {
    if (!frame.hasSpectrum()) {
        map_.makeEnergies(frame.coarse_, frame.energies_);
        map_.makeSpectrum(frame.coarse_, frame.spectrum_);
    }
    return {frame.spectrum_, frame.energies_};
}

CoarseShift CoarseMatcher::match(CoarseFrame& previous, const std::uint8_t* previousGrey,
                                 CoarseFrame& current, const std::uint8_t* currentGrey,
                                 const ShiftHint* hint) {
    map_.fill(comparable(previous), comparable(current));
    const Pair pair{previous, current, previousGrey, currentGrey};
    std::vector<RefinedPlace> places = refinedPlaces(hint, pair);
    if (places.empty()) return {};
    places[0].finest = refineFinest(places[0].middle, pair);
    // The second-best place is worth the time only where it could change anything.
    if (places.size() > 1 && !leads(places[0].likeness(), places[1].middle.likeness, certainLead)) {
        places[1].finest = refineFinest(places[1].middle, pair);
        if (places[1].likeness() > places[0].likeness()) std::swap(places[0], places[1]);
    }
    const RefinedPlace& best = places[0];
    CoarseShift shift;
    shift.rival = rivalOf(places);
    shift.verdict = judge(best, shift.rival, scales_.middle.factor);
    shift.x = best.finest.x;
    shift.y = best.finest.y;
    shift.confidence = confidenceOf(shift.verdict, best);
    shift.low = best.likeness();
    shift.strength = best.strength();
    return shift;
}

ShiftWindow CoarseMatcher::windowOf(const ShiftHint* hint) const {
    ShiftWindow all{-map_.reachX(), -map_.reachY(), map_.reachX(), map_.reachY()};
    if (hint == nullptr) return all;
    // Numbers far outside, and those that are none, end at the map's border.
    const auto bound = [this](double value, std::int32_t reach) {
        const double pixels = value / scales_.coarse.factor;
        if (!(pixels > -reach)) return -reach;
        return pixels < reach ? static_cast<std::int32_t>(pixels) : reach;
    };
    return {bound(std::floor(hint->x - hint->uncertainty) - scales_.coarse.factor, map_.reachX()),
            bound(std::floor(hint->y - hint->uncertainty) - scales_.coarse.factor, map_.reachY()),
            bound(std::ceil(hint->x + hint->uncertainty) + scales_.coarse.factor, map_.reachX()),
            bound(std::ceil(hint->y + hint->uncertainty) + scales_.coarse.factor, map_.reachY())};
}

JointPeak CoarseMatcher::refineMiddle(const Place& place, const Pair& pair) const {
    const Level& level = scales_.middle;
    const LevelView previous = viewOf(pair.previous.middle_, level);
    const PatchPlan plan{middlePatch, middleCount, middleRadius, level.factor, previous, level.factor};
    const std::int32_t ratio = scales_.coarse.factor / level.factor;
    JointPeak peak = refine({previous, viewOf(pair.current.middle_, level)}, plan, place.fineX * ratio,
                            place.fineY * ratio);
    scale(peak, level.factor);
    return peak;
}

JointPeak CoarseMatcher::refineFinest(const JointPeak& middle, const Pair& pair) const {
    const Level& level = scales_.finest;
    const LevelView previous{pair.previousGrey, scales_.cols, level.factor, level.rows, level.cols};
    const LevelView current{pair.currentGrey, scales_.cols, level.factor, level.rows, level.cols};
    const PatchPlan plan{finestPatch,
                         finestCount,
                         finestRadius,
                         level.factor,
                         viewOf(pair.previous.middle_, scales_.middle),
                         scales_.middle.factor};
    JointPeak peak = refine({previous, current}, plan, middle.x / level.factor, middle.y / level.factor);
    scale(peak, level.factor);
    return peak;
}

/// The map's best places, refined at the middle level, none twice, best first.
std::vector<RefinedPlace> CoarseMatcher::refinedPlaces(const ShiftHint* hint, const Pair& pair) const {
    std::vector<RefinedPlace> refined;
    for (const Place& place : findPlaces(map_, scales_.coarse, windowOf(hint))) {
        RefinedPlace next;
        next.middle = refineMiddle(place, pair);
        if (next.middle.found) refined.push_back(next);
    }
    std::stable_sort(refined.begin(), refined.end(), [](const RefinedPlace& a, const RefinedPlace& b) {
        return a.middle.likeness > b.middle.likeness;
    });
    std::vector<RefinedPlace> distinct;
    for (const RefinedPlace& place : refined) {
        const auto same = [&](const RefinedPlace& other) {
            return isSame(other.middle, place.middle, samePlace * scales_.middle.factor);
        };
        if (std::none_of(distinct.begin(), distinct.end(), same)) distinct.push_back(place);
    }
    return distinct;
}

}  // namespace brantel::session
