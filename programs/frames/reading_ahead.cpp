#include "frames/reading_ahead.h"

namespace brantel::programs {

bool ReadingAhead::next(Frame& frame) {
    std::optional<Frame> ready = ahead_.valid() ? ahead_.get() : read();
    if (!ready) return false;
    frame = std::move(*ready);
    ahead_ = std::async(std::launch::async, [this] { return read(); });
    return true;
}

std::optional<Frame> ReadingAhead::read() {
    Frame frame;
    const bool more = source_->next(frame);
    count_ = source_->count();
    return more ? std::optional<Frame>(std::move(frame)) : std::nullopt;
}

}  // namespace brantel::programs
