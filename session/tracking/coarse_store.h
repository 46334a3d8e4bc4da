// What is kept of placed frames to compare others with them, within bounds.
#pragma once

#include <cstdint>
#include <list>

#include "coarse/coarse_shift.h"

namespace brantel::session {

/// Memory that one frame is counted with. The real one is near it and below; it is not measured, since what is given up
/// must be the same on every machine.
constexpr std::int64_t coarseFrameBytes = std::int64_t{1} << 19;

/// Keeps the frames used last and makes the others anew from their pictures.
class CoarseStore {
  public:
    CoarseStore(CoarseMatcher& matcher, std::int64_t bytes);

    void put(std::int64_t frame, CoarseFrame&& coarse);
    /// The reference holds until the next call. grey is the frame's picture.
    CoarseFrame& get(std::int64_t frame, const std::uint8_t* grey);
    void clear() { entries_.clear(); }

  private:
    struct Entry {
        std::int64_t frame;
        CoarseFrame coarse;
    };

    CoarseMatcher& matcher_;
    std::size_t limit_;
    std::list<Entry> entries_;  // the one used last comes first
};

}  // namespace brantel::session
