// Frames that nothing joins yet.
#pragma once

#include <cstdint>
#include <list>
#include <vector>

#include "coarse/coarse_shift.h"
#include "maps/map.h"

namespace brantel::session {

struct WaitingFrame {
    std::int64_t frame = 0;
    std::vector<std::uint8_t> pixels;  // packed
    CoarseFrame coarse;
    PlanePoint reckoned;              // where it is believed to lie
    std::vector<std::int64_t> tried;  // placed frames that it does not join
};

/// Bounded by number and by memory.
class WaitingList {
  public:
    WaitingList(std::int64_t frames, std::int64_t bytes) : frameLimit_(frames), byteLimit_(bytes) {}

    /// True when a frame of so many bytes may wait at all.
    bool takes(std::int64_t bytes) const;
    void add(WaitingFrame&& frame) { frames_.push_back(std::move(frame)); }
    /// While there are more than may wait: takes the oldest one out and hands over its number.
    template <class Refuse>
    void makeRoom(Refuse&& refuse) {
        while (isOverfull()) {
            refuse(frames_.front().frame);
            frames_.pop_front();
        }
    }
    /// Oldest first.
    std::list<WaitingFrame>& frames() { return frames_; }

  private:
    bool isOverfull() const;

    std::int64_t frameLimit_;
    std::int64_t byteLimit_;
    std::list<WaitingFrame> frames_;
};

}  // namespace brantel::session
