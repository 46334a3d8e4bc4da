// What a frame is compared with, in which order.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "engine/shift_limits.h"
#include "tracking/tracker.h"

namespace brantel::session {

namespace {

constexpr double assumedUncertainty = 0.1;  // of a frame's longer side, when a host gives none

struct Candidate {
    double distance;
    std::int64_t frame;

    /// Newer frames first among those equally near.
    bool operator<(const Candidate& other) const {
        return distance < other.distance || (distance == other.distance && frame > other.frame);
    }
};

/// Appends the nearest frames to the list unless it has them, until it is so long.
void takeNearest(std::vector<Candidate> candidates, std::size_t length, std::vector<std::int64_t>& list) {
    std::sort(candidates.begin(), candidates.end());
    for (const Candidate& candidate : candidates) {
        if (list.size() >= length) return;
        if (std::find(list.begin(), list.end(), candidate.frame) == list.end())
            list.push_back(candidate.frame);
    }
}

double distanceOf(const GivenPosition& a, const GivenPosition& b) {
    return distance({a.x, a.y}, {b.x, b.y});
}

}  // namespace

/// The host's word counts for more than the camera's habit.
PlanePoint Tracker::predict(const FrameEntry& frame) const {
    const FrameEntry* nearest = nullptr;
    for (const FrameEntry& other : frames_) {
        if (!frame.given || !other.given || other.group != group_ || other.state != BRANTEL_PLACED) continue;
        if (nearest == nullptr ||
            distanceOf(*frame.given, *other.given) < distanceOf(*frame.given, *nearest->given))
            nearest = &other;
    }
    if (nearest == nullptr) return reckoning_.predicted();
    const PlanePoint at = onPlane(*nearest);
    return {at.x + frame.given->x - nearest->given->x, at.y + frame.given->y - nearest->given->y};
}

std::optional<ShiftHint> Tracker::hintFor(const FrameEntry& frame, const FrameEntry& other) const {
    if (!frame.given || !other.given) return std::nullopt;
    const double longer = std::max(engine_.frame.rows, engine_.frame.cols);
    const double uncertainty =
        frame.given->uncertainty > 0 ? frame.given->uncertainty : assumedUncertainty * longer;
    return ShiftHint{frame.given->x - other.given->x, frame.given->y - other.given->y, uncertainty};
}

/// Placed frames near where the frame should be if the camera goes on, if it turns as it did before, and near where it
/// was last: it may have turned another way.
std::vector<std::int64_t> Tracker::earlierFrames(const InHand& hand) const {
    const PlanePoint places[] = {hand.reckoned, reckoning_.surprising(), reckoning_.last()};
    const auto count = static_cast<std::size_t>(settings_.earlier_frames);
    std::vector<std::int64_t> list;
    for (std::size_t p = 0; p < std::size(places); ++p) {
        std::vector<Candidate> candidates;
        for (std::size_t i = 0; i < frames_.size(); ++i) {
            const FrameEntry& other = frames_[i];
            const auto number = static_cast<std::int64_t>(i);
            if (other.state == BRANTEL_PLACED && other.group == group_ && number != anchor_)
                candidates.push_back({distance(onPlane(other), places[p]), number});
        }
        takeNearest(std::move(candidates), (count * (p + 1) + 2) / 3, list);
    }
    return list;
}

/// The first frame that this one joins: the last one placed, earlier ones, those that wait.
std::optional<Tracker::Partner> Tracker::search(const InHand& hand) {
    if (anchor_ >= 0)
        if (auto partner = compareWithPlaced(hand, anchor_, true)) return partner;
    for (const std::int64_t other : earlierFrames(hand))
        if (auto partner = compareWithPlaced(hand, other, true)) return nearestPartner(hand, *partner);
    if (auto partner = compareWithWaiting(hand)) return partner;
    return byPosition(hand);
}

/// Once its place is known, the frame that overlaps it most says it best.
Tracker::Partner Tracker::nearestPartner(const InHand& hand, const Partner& found) {
    const PlanePoint at = placeBeside(found);
    std::int64_t nearest = found.index;
    for (std::size_t i = 0; i < frames_.size(); ++i)
        if (frames_[i].state == BRANTEL_PLACED && frames_[i].map == entry(found.index).map &&
            distance(onPlane(frames_[i]), at) < distance(onPlane(entry(nearest)), at))
            nearest = static_cast<std::int64_t>(i);
    if (nearest == found.index) return found;
    return compareWithPlaced(hand, nearest, false).value_or(found);
}

bool Tracker::usable(const InHand& hand, const PairResult& pair) {
    if (!pair.joined) return false;
    const FrameShift shift = frameShift(pair.offset, engine_.frame.rows, engine_.frame.cols);
    if (shift.size != ShiftSize::tooLarge || settings_.small_overlaps != 0) return true;
    entry(hand.index).reason = BRANTEL_SHIFT_TOO_LARGE;
    return false;
}

std::optional<Tracker::Partner> Tracker::compareWithPlaced(const InHand& hand, std::int64_t other,
                                                           bool askCornersAtHint) {
    maps_.useAsTemplate(other);
    CoarseFrame& coarse = store_.get(other, engine_.templateGrey.data());
    const std::optional<ShiftHint> hint = hintFor(entry(hand.index), entry(other));
    const PairResult pair = pairs_.compare(coarse, *hand.coarse, hint ? &*hint : nullptr, askCornersAtHint);
    if (!usable(hand, pair)) return std::nullopt;
    return Partner{other, nullptr, pair};
}

/// The newest ones first.
std::optional<Tracker::Partner> Tracker::compareWithWaiting(const InHand& hand) {
    const std::int64_t stride = std::int64_t{engine_.frame.cols} * engine_.frame.channels;
    maps_.leave();
    for (auto waiting = waiting_.frames().rbegin(); waiting != waiting_.frames().rend(); ++waiting) {
        engine_.takeTemplate(waiting->pixels.data(), stride, {});
        const std::optional<ShiftHint> hint = hintFor(entry(hand.index), entry(waiting->frame));
        const PairResult pair = pairs_.compare(waiting->coarse, *hand.coarse, hint ? &*hint : nullptr, false);
        if (usable(hand, pair)) return Partner{waiting->frame, &*waiting, pair};
    }
    return std::nullopt;
}

/// Pictures that say nothing may leave the word to the host: against the nearest frame that overlaps.
std::optional<Tracker::Partner> Tracker::byPosition(const InHand& hand) const {
    if (settings_.trust_positions == 0) return std::nullopt;
    const FrameEntry& own = frames_[static_cast<std::size_t>(hand.index)];
    std::optional<Partner> nearest;
    double least = 0;
    for (std::size_t i = 0; i < frames_.size(); ++i) {
        const FrameEntry& other = frames_[i];
        if (other.state != BRANTEL_PLACED || other.group != group_ || !own.given || !other.given) continue;
        const double away = distanceOf(*own.given, *other.given);
        const double x = std::floor(own.given->x - other.given->x + 0.5);
        const double y = std::floor(own.given->y - other.given->y + 0.5);
        if (std::abs(x) >= engine_.frame.cols || std::abs(y) >= engine_.frame.rows) continue;
        if (nearest && away >= least) continue;
        least = away;
        const Offset offset{static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)};
        nearest =
            Partner{static_cast<std::int64_t>(i), nullptr, {true, offset, BRANTEL_BY_POSITION, 0, 0, false}};
    }
    return nearest;
}

}  // namespace brantel::session
