#include "tracking/tracker.h"

#include <algorithm>
#include <utility>

#include "engine/shift_limits.h"

namespace brantel::session {

namespace {

/// The waiting frames' part of the memory; the rest is for comparing placed ones.
std::int64_t memoryToWait(std::int64_t memory) {
    return memory - memory / 4;
}

std::int32_t acceptanceReason(const brantel_settings& settings) {
    return settings.acceptance == BRANTEL_ACCEPT_BY_MOTION ? BRANTEL_MOTION : BRANTEL_BRIGHTNESS;
}

void takeOver(FrameEntry& entry, std::int64_t joins, const PairResult& pair) {
    entry.foundBy = pair.foundBy;
    entry.matches = pair.matches;
    entry.confidence = pair.confidence;
    entry.joins = joins;
}

}  // namespace

Tracker::Tracker(const brantel_settings& settings, CpuEngine& engine, Maps& maps, FrameList& frames)
    : settings_(settings),
      engine_(engine),
      maps_(maps),
      frames_(frames),
      coarse_(engine.frame.rows, engine.frame.cols),
      store_(coarse_, settings.memory / 4),
      waiting_(settings.waiting_frames, memoryToWait(settings.memory)),
      pairs_(engine, coarse_, settings.trust_correlation != 0) {}

PlanePoint Tracker::onPlane(const FrameEntry& frame) const {
    const PlanePoint& origin = maps_.at(frame.map).reckoned;
    return {origin.x + frame.at.x, origin.y + frame.at.y};
}

/// Where a frame lies that joins another one.
PlanePoint Tracker::placeBeside(const Partner& partner) const {
    const PlanePoint other = partner.waiting != nullptr
                                 ? partner.waiting->reckoned
                                 : onPlane(frames_[static_cast<std::size_t>(partner.index)]);
    return {other.x + partner.pair.offset.x, other.y + partner.pair.offset.y};
}

void Tracker::add(const std::uint8_t* pixels, Changes& changes) {
    CoarseFrame coarse;
    engine_.takeCurrent(pixels);
    coarse_.prepare(engine_.currentSide.grey.data(), coarse);
    InHand hand{static_cast<std::int64_t>(frames_.size()) - 1, pixels, &coarse, {}};
    FrameEntry& own = entry(hand.index);
    own.group = group_;
    hand.reckoned = predict(own);
    if (maps_.countOf(group_) == 0) {
        begin(hand, changes);
    } else if (const std::optional<Partner> partner = search(hand)) {
        if (partner->pair.contradicted) changes.bits |= BRANTEL_POSITION_CONTRADICTED;
        reckoning_.found(placeBeside(*partner), std::min(engine_.frame.rows, engine_.frame.cols));
        settle(hand, *partner, changes);
        if (own.map != 0) {
            reckoning_.moveTo(onPlane(own));  // maps may have been joined
            anchor_ = own.state == BRANTEL_PLACED ? hand.index : own.joins;
        }
    } else {
        wait(hand, changes);
        reckoning_.lost(hand.reckoned);
    }
    if (own.state == BRANTEL_PLACED) afterPlacing(hand.index, std::move(coarse), changes);
}

void Tracker::begin(const InHand& hand, Changes& changes) {
    std::vector<std::uint8_t> copy(hand.pixels, hand.pixels + engine_.frame.bytes());
    const Map& map = maps_.begin(group_, hand.index, copy.data());
    FrameEntry& own = entry(hand.index);
    own.state = BRANTEL_PLACED;
    own.map = map.number;
    takeOver(own, -1, {true, {}, BRANTEL_BY_FIRST, 0, 1, false});
    changes.add(map.number, map.extent);
    ++changes.placed;
    reckoning_.begin({});
    anchor_ = hand.index;
}

void Tracker::beginMap(Changes& changes) {
    for (const WaitingFrame& waiting : waiting_.frames()) {
        entry(waiting.frame).state = BRANTEL_REFUSED;
        entry(waiting.frame).reason = BRANTEL_MAP_ENDED;
        changes.bits |= BRANTEL_EARLIER_REFUSED;
    }
    waiting_.frames().clear();
    store_.clear();
    unexplored_.clear();
    anchor_ = -1;
    ++group_;
}

/// Does with a frame what its place suggests.
void Tracker::settle(const InHand& hand, const Partner& partner, Changes& changes) {
    const FrameShift shift = frameShift(partner.pair.offset, engine_.frame.rows, engine_.frame.cols);
    if (shift.size == ShiftSize::tooSmall) {
        skip(hand, partner);
        return;
    }
    if (partner.waiting != nullptr) beginFromWaiting(*partner.waiting, changes);
    for (const Connection& connection : findConnections(hand, partner)) connect(partner, connection, changes);
    merge(hand, partner, changes);
}

/// A frame that shows nothing new. Beside a frame that waits its place is not known either.
void Tracker::skip(const InHand& hand, const Partner& partner) {
    FrameEntry& own = entry(hand.index);
    const FrameEntry& other = entry(partner.index);
    own.state = BRANTEL_SKIPPED;
    own.reason = BRANTEL_SHIFT_TOO_SMALL;
    takeOver(own, partner.index, partner.pair);
    own.map = other.map;
    if (other.map != 0) own.at = {other.at.x + partner.pair.offset.x, other.at.y + partner.pair.offset.y};
}

void Tracker::merge(const InHand& hand, const Partner& partner, Changes& changes) {
    maps_.useAsTemplate(partner.index);
    FrameEntry& own = entry(hand.index);
    const FrameEntry& other = entry(partner.index);
    if (maps_.merge(hand.index, partner.pair.offset, partner.pair.matches) == StepEnd::refused) {
        own.state = BRANTEL_REFUSED;
        own.reason = acceptanceReason(settings_);
        return;
    }
    own.state = BRANTEL_PLACED;
    own.reason = BRANTEL_NO_REASON;
    own.map = other.map;
    own.at = {other.at.x + partner.pair.offset.x, other.at.y + partner.pair.offset.y};
    takeOver(own, partner.index, partner.pair);
    changes.add(own.map, {own.at.x, own.at.y, engine_.frame.cols, engine_.frame.rows});
    ++changes.placed;
}

/// A frame that waited and the one in hand join each other: they are a new map.
void Tracker::beginFromWaiting(WaitingFrame& waiting, Changes& changes) {
    Map& map = maps_.begin(group_, waiting.frame, waiting.pixels.data());
    map.reckoned = waiting.reckoned;
    FrameEntry& own = entry(waiting.frame);
    own.state = BRANTEL_PLACED;
    own.reason = BRANTEL_NO_REASON;
    own.map = map.number;
    takeOver(own, -1, {true, {}, BRANTEL_BY_FIRST, 0, 1, false});
    changes.add(map.number, map.extent);
    changes.bits |= BRANTEL_EARLIER_PLACED;
    ++changes.placed;
    forget(&waiting);
}

void Tracker::wait(const InHand& hand, Changes& changes) {
    FrameEntry& own = entry(hand.index);
    if (own.reason == BRANTEL_NO_REASON) own.reason = BRANTEL_NOTHING_JOINS;
    if (!waiting_.takes(engine_.frame.bytes())) {
        own.state = BRANTEL_REFUSED;
        return;
    }
    waiting_.add({hand.index,
                  {hand.pixels, hand.pixels + engine_.frame.bytes()},
                  std::move(*hand.coarse),
                  hand.reckoned,
                  {}});
    own.state = BRANTEL_WAITING;
    waiting_.makeRoom([&](std::int64_t oldest) {
        entry(oldest).state = BRANTEL_REFUSED;
        entry(oldest).reason = BRANTEL_NO_ROOM_TO_WAIT;
        changes.bits |= BRANTEL_EARLIER_REFUSED;
    });
}

void Tracker::forget(const WaitingFrame* waiting) {
    waiting_.frames().remove_if([waiting](const WaitingFrame& frame) { return &frame == waiting; });
}

}  // namespace brantel::session
