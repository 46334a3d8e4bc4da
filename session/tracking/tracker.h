// Keeping the track: which of the earlier frames a frame joins, and what becomes of it.
#pragma once

#include <brantel/session.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "coarse/coarse_shift.h"
#include "maps/maps.h"
#include "tracking/changes.h"
#include "tracking/coarse_store.h"
#include "tracking/pair_matcher.h"
#include "tracking/reckoning.h"
#include "tracking/waiting_list.h"

namespace brantel::session {

class Tracker {
  public:
    /// The settings are complete and in their ranges.
    Tracker(const brantel_settings& settings, CpuEngine& engine, Maps& maps, FrameList& frames);

    /// Finds out what becomes of the last frame of the list, whose packed pixels are given, and completes its entry. When
    /// it throws, the entry knows no place unless the frame was merged all the same.
    void add(const std::uint8_t* pixels, Changes& changes);
    /// The next frame begins a new map. Nothing waits any more.
    void beginMap(Changes& changes);

  private:
    /// A frame that is to be placed: the engine's current one.
    struct InHand {
        std::int64_t index;
        const std::uint8_t* pixels;
        CoarseFrame* coarse;
        PlanePoint reckoned;
    };
    /// A frame that it joins.
    struct Partner {
        std::int64_t index = -1;
        WaitingFrame* waiting = nullptr;  // if it is one of those
        PairResult pair;
    };
    /// A place that a frame has in a map beside its partner's.
    struct Connection {
        std::int32_t map;
        CornerPoint at;
    };

    FrameEntry& entry(std::int64_t frame) { return frames_[static_cast<std::size_t>(frame)]; }
    PlanePoint onPlane(const FrameEntry& frame) const;
    PlanePoint placeBeside(const Partner& partner) const;
    PlanePoint predict(const FrameEntry& frame) const;

    void begin(const InHand& hand, Changes& changes);
    std::optional<Partner> search(const InHand& hand);
    Partner nearestPartner(const InHand& hand, const Partner& found);
    std::vector<std::int64_t> earlierFrames(const InHand& hand) const;
    std::optional<Partner> compareWithPlaced(const InHand& hand, std::int64_t other, bool askCornersAtHint);
    std::optional<Partner> compareWithWaiting(const InHand& hand);
    std::optional<Partner> byPosition(const InHand& hand) const;
    bool usable(const InHand& hand, const PairResult& pair);
    std::optional<ShiftHint> hintFor(const FrameEntry& frame, const FrameEntry& other) const;

    void settle(const InHand& hand, const Partner& partner, Changes& changes);
    void skip(const InHand& hand, const Partner& partner);
    void merge(const InHand& hand, const Partner& partner, Changes& changes);
    void beginFromWaiting(WaitingFrame& waiting, Changes& changes);
    void wait(const InHand& hand, Changes& changes);

    std::vector<std::int64_t> framesOfOtherMaps(const InHand& hand, const Partner& partner);
    std::vector<Connection> findConnections(const InHand& hand, const Partner& partner);
    void connect(const Partner& partner, const Connection& connection, Changes& changes);
    void afterPlacing(std::int64_t frame, CoarseFrame&& coarse, Changes& changes);
    void placeWaiting(Changes& changes);
    WaitingFrame* nearestUntried(std::int64_t frame);
    bool tryWaiting(WaitingFrame& waiting, std::int64_t placed, Changes& changes);
    void forget(const WaitingFrame* waiting);

    const brantel_settings& settings_;
    CpuEngine& engine_;
    Maps& maps_;
    FrameList& frames_;
    CoarseMatcher coarse_;
    CoarseStore store_;
    WaitingList waiting_;
    PairMatcher pairs_;
    Reckoning reckoning_;
    std::int32_t group_ = 0;
    std::int64_t anchor_ = -1;   // the placed frame that the next one is compared with first
    std::int64_t rotation_ = 0;  // which frame of other maps comes in turn
    std::deque<std::int64_t>
        unexplored_;  // placed frames that those waiting near them were not compared with yet
};

}  // namespace brantel::session
