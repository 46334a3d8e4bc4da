#include "tracking/coarse_store.h"

#include <algorithm>
#include <utility>

namespace brantel::session {

namespace {

constexpr std::int64_t fewestFrames = 1;
constexpr std::int64_t mostFrames = 4096;

}  // namespace

CoarseStore::CoarseStore(CoarseMatcher& matcher, std::int64_t bytes)
    : matcher_(matcher),
      limit_(static_cast<std::size_t>(std::clamp(bytes / coarseFrameBytes, fewestFrames, mostFrames))) {}

void CoarseStore::put(std::int64_t frame, CoarseFrame&& coarse) {
    entries_.push_front({frame, std::move(coarse)});
    if (entries_.size() > limit_) entries_.pop_back();
}

CoarseFrame& CoarseStore::get(std::int64_t frame, const std::uint8_t* grey) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [frame](const Entry& entry) { return entry.frame == frame; });
    if (found != entries_.end()) {
        entries_.splice(entries_.begin(), entries_, found);
    } else {
        CoarseFrame coarse;
        matcher_.prepare(grey, coarse);
        put(frame, std::move(coarse));
    }
    return entries_.front().coarse;
}

}  // namespace brantel::session
