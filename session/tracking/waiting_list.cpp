#include "tracking/waiting_list.h"

#include "tracking/coarse_store.h"

namespace brantel::session {

bool WaitingList::takes(std::int64_t bytes) const {
    return frameLimit_ > 0 && bytes + coarseFrameBytes <= byteLimit_;
}

bool WaitingList::isOverfull() const {
    std::int64_t bytes = 0;
    for (const WaitingFrame& frame : frames_)
        bytes += static_cast<std::int64_t>(frame.pixels.size()) + coarseFrameBytes;
    return static_cast<std::int64_t>(frames_.size()) > frameLimit_ || bytes > byteLimit_;
}

}  // namespace brantel::session
