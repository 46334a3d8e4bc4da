// What a frame that was placed brings together: maps, and frames that wait.
#include <algorithm>
#include <utility>

#include "tracking/tracker.h"

namespace brantel::session {

namespace {

constexpr std::size_t connections = 4;          // frames of other maps that a frame is compared with
constexpr std::ptrdiff_t nearConnections = 2;   // the nearest ones among them
constexpr std::int32_t waitingComparisons = 4;  // that one added frame may cause
constexpr std::size_t mostUnexplored = 64;      // placed frames whose surroundings are still to be looked at
constexpr double waitingReach = 1.5;            // frame sides within which a frame that waits is near

}  // namespace

/// Frames of other maps: the nearest ones, and since where those maps lie is only believed, the newest one, at which the
/// track was lost, and another one in turn.
std::vector<std::int64_t> Tracker::framesOfOtherMaps(const InHand& hand, const Partner& partner) {
    const FrameEntry& other = entry(partner.index);
    const PlanePoint at = placeBeside({partner.index, nullptr, partner.pair});
    std::vector<std::int64_t> all;
    for (std::size_t i = 0; i < frames_.size(); ++i)
        if (frames_[i].state == BRANTEL_PLACED && frames_[i].group == group_ && frames_[i].map != other.map &&
            static_cast<std::int64_t>(i) != hand.index)
            all.push_back(static_cast<std::int64_t>(i));
    if (all.size() <= connections) return all;
    std::vector<std::int64_t> list{all.back()};
    const auto nearer = [&](std::int64_t a, std::int64_t b) {
        const double toA = distance(onPlane(entry(a)), at);
        const double toB = distance(onPlane(entry(b)), at);
        return toA < toB || (toA == toB && a > b);
    };
    all.pop_back();
    std::sort(all.begin(), all.end(), nearer);
    const auto near = all.begin() + nearConnections;
    list.insert(list.begin(), all.begin(), near);
    list.push_back(*(near + rotation_++ % (all.end() - near)));
    return list;
}

std::vector<Tracker::Connection> Tracker::findConnections(const InHand& hand, const Partner& partner) {
    std::vector<Connection> connections;
    if (settings_.join_maps == 0 || maps_.countOf(group_) < 2) return connections;
    for (const std::int64_t other : framesOfOtherMaps(hand, partner)) {
        const FrameEntry& there = entry(other);
        const bool known = std::any_of(connections.begin(), connections.end(),
                                       [&](const Connection& c) { return c.map == there.map; });
        if (known) continue;
        if (const auto found = compareWithPlaced(hand, other, false))
            connections.push_back(
                {there.map, {there.at.x + found->pair.offset.x, there.at.y + found->pair.offset.y}});
    }
    return connections;
}

/// The smaller map moves over into the larger one.
void Tracker::connect(const Partner& partner, const Connection& connection, Changes& changes) {
    const FrameEntry& other = entry(partner.index);
    Map* into = &maps_.at(other.map);
    Map* from = &maps_.at(maps_.survivorOf(connection.map));
    CornerPoint by{other.at.x + partner.pair.offset.x - connection.at.x,
                   other.at.y + partner.pair.offset.y - connection.at.y};
    const bool smaller =
        into->frames < from->frames || (into->frames == from->frames && into->number > from->number);
    if (smaller) {
        std::swap(into, from);
        by = {-by.x, -by.y};
    }
    const Rectangle moved = from->extent.moved(by);
    if (!maps_.join(*into, *from, by)) return;
    changes.join(from->number, into->number, moved);
    changes.bits |= BRANTEL_MAPS_JOINED;
}

/// The frame is in its map for good: should memory fail from here on, others wait on until the next frame is added.
void Tracker::afterPlacing(std::int64_t frame, CoarseFrame&& coarse, Changes& changes) {
    try {
        unexplored_.push_back(frame);
        if (unexplored_.size() > mostUnexplored) unexplored_.pop_front();
        store_.put(frame, std::move(coarse));
        placeWaiting(changes);
    } catch (...) {
        return;
    }
}

/// Compares frames that wait with those placed near them, as far as one frame may cause it.
void Tracker::placeWaiting(Changes& changes) {
    for (std::int32_t comparisons = waitingComparisons; comparisons > 0 && !unexplored_.empty();) {
        WaitingFrame* waiting = nearestUntried(unexplored_.front());
        if (waiting == nullptr) {
            unexplored_.pop_front();
            continue;
        }
        --comparisons;
        const std::int64_t number = waiting->frame;
        if (tryWaiting(*waiting, unexplored_.front(), changes)) unexplored_.push_back(number);
    }
}

WaitingFrame* Tracker::nearestUntried(std::int64_t frame) {
    const PlanePoint at = onPlane(entry(frame));
    double least = waitingReach * std::max(engine_.frame.rows, engine_.frame.cols);
    WaitingFrame* nearest = nullptr;
    for (WaitingFrame& waiting : waiting_.frames()) {
        const double away = distance(waiting.reckoned, at);
        const bool tried =
            std::find(waiting.tried.begin(), waiting.tried.end(), frame) != waiting.tried.end();
        if (tried || away > least) continue;
        least = away;
        nearest = &waiting;
    }
    return nearest;
}

/// True when the frame was placed.
bool Tracker::tryWaiting(WaitingFrame& waiting, std::int64_t placed, Changes& changes) {
    const InHand hand{waiting.frame, waiting.pixels.data(), &waiting.coarse, waiting.reckoned};
    engine_.takeCurrent(hand.pixels);
    const auto partner = compareWithPlaced(hand, placed, false);
    if (!partner) {
        waiting.tried.push_back(placed);
        return false;
    }
    settle(hand, *partner, changes);
    const FrameEntry& own = entry(hand.index);
    changes.bits |= own.state == BRANTEL_REFUSED ? BRANTEL_EARLIER_REFUSED : BRANTEL_EARLIER_PLACED;
    CoarseFrame coarse = std::move(waiting.coarse);
    forget(&waiting);
    if (own.state != BRANTEL_PLACED) return false;
    store_.put(hand.index, std::move(coarse));
    return true;
}

}  // namespace brantel::session
