#include "tracking/pair_matcher.h"

#include <brantel/session.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "engine/shift_limits.h"
#include "maps/maps.h"

namespace brantel::session {

namespace {

constexpr double agreement = 3;  // pixels per axis between two witnesses of the same shift
constexpr std::int32_t cornerless =
    82;  // corners keep 40 pixels from the edges of what they are looked for in

Offset rounded(double x, double y) {
    return {static_cast<std::int32_t>(std::floor(x + 0.5)), static_cast<std::int32_t>(std::floor(y + 0.5))};
}

bool lieWithin(Offset offset, double x, double y, double distance) {
    return std::abs(offset.x - x) <= distance && std::abs(offset.y - y) <= distance;
}

/// What is burnt into every frame, a scale bar say, has its corners agree on no shift at all.
bool looksBurntIn(Offset offset, const ShiftHint& hint) {
    return lieWithin(offset, 0, 0, agreement) && !lieWithin({0, 0}, hint.x, hint.y, 2 * agreement);
}

/// The interface's form: the row shift's sign is turned round when the column shift is negative.
ExpectedShift asExpected(Offset shift) {
    return {shift.x, shift.x < 0 ? -shift.y : shift.y, true};
}

double confidenceOfMatches(std::int32_t matches) {
    return static_cast<double>(matches) / (matches + 10);
}

}  // namespace

PairResult PairMatcher::compare(CoarseFrame& previous, CoarseFrame& current, const ShiftHint* hint,
                                bool askCornersAtHint) {
    PairResult result;
    if (hint != nullptr) result = believe(correlate(previous, current, hint));
    if (!result.joined) result = believe(correlate(previous, current, nullptr));
    if (hint == nullptr) return result;
    if (!result.joined) return askCornersAtHint ? cornersAtHint(*hint) : result;
    result.contradicted = !lieWithin(result.offset, hint->x, hint->y, hint->uncertainty + agreement);
    return result;
}

CoarseShift PairMatcher::correlate(CoarseFrame& previous, CoarseFrame& current, const ShiftHint* hint) {
    return coarse_.match(previous, engine_.templateGrey.data(), current, engine_.currentSide.grey.data(),
                         hint);
}

PairResult PairMatcher::believe(const CoarseShift& shift) {
    PairResult result;
    if (shift.verdict == CoarseVerdict::none) return result;
    const Offset offset = rounded(shift.x, shift.y);
    const bool certain = shift.verdict == CoarseVerdict::certain && trustCorrelation_;
    // A frame that shows nothing new is not worth the corners.
    const bool tooSmall =
        frameShift(offset, engine_.frame.rows, engine_.frame.cols).size == ShiftSize::tooSmall;
    if (!(certain && tooSmall) && askCorners(offset, result) &&
        lieWithin(result.offset, shift.x, shift.y, agreement)) {
        result.joined = true;
        result.confidence = std::max(shift.confidence, confidenceOfMatches(result.matches));
        return result;
    }
    if (!certain) return {};
    return {true, offset, BRANTEL_BY_CORRELATION, 0, shift.confidence, false};
}

PairResult PairMatcher::cornersAtHint(const ShiftHint& hint) {
    PairResult result;
    result.joined = askCorners(rounded(hint.x, hint.y), result) && !looksBurntIn(result.offset, hint) &&
                    lieWithin(result.offset, hint.x, hint.y, hint.uncertainty + agreement);
    if (!result.joined) return {};
    result.confidence = confidenceOfMatches(result.matches);
    return result;
}

/// Looks for corners where the frames overlap under the expected shift.
bool PairMatcher::askCorners(Offset expected, PairResult& result) {
    if (engine_.frame.cols - std::abs(expected.x) <= cornerless ||
        engine_.frame.rows - std::abs(expected.y) <= cornerless)
        return false;
    StitchFlags found{};
    const StepEnd end = engine_.registerCurrent(asExpected(expected), found);
    if (end == StepEnd::brokenOff) throw StepBrokenOff();
    if (end == StepEnd::refused) return false;
    result.offset = {found.offset.x, found.offset.y};
    result.matches = found.matchCount;
    result.foundBy = BRANTEL_BY_CORNERS;
    return true;
}

}  // namespace brantel::session
