#include "session.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/geometry.h"
#include "engine/shift_limits.h"

namespace brantel::session {

namespace {

constexpr std::int32_t areaLimit = 20000;  // a factor of the area at which only the three functions say so

/// The shift to expect, in the interface's form: the row shift's sign is turned round when the column shift is negative. A
/// position that may be off by a whole frame leads nowhere: it is there for the frames that follow.
ExpectedShift expectedBetween(const FrameEntry& earlier, const FrameEntry& later, std::int32_t longerSide) {
    if (!earlier.given || !later.given || later.given->uncertainty >= longerSide) return {};
    const auto whole = [](double shift) { return static_cast<std::int32_t>(std::floor(shift + 0.5)); };
    const std::int32_t x = whole(later.given->x - earlier.given->x);
    const std::int32_t y = whole(later.given->y - earlier.given->y);
    return {x, x < 0 ? -y : y, true};
}

}  // namespace

Session::Session(const brantel_settings& settings)
    : settings_(settings),
      lines_(settings.on_line, settings.user),
      engine_(lines_),
      maps_(engine_, frames_) {}

Session::Start Session::start() {
    const FrameSetup setup{settings_.rows,          settings_.columns, settings_.channels,
                           settings_.density_level, areaLimit,         areaLimit};
    if (!framesAreUsable(engine_.log, setup)) return Start::unusableFrames;
    const StitchModes modes{settings_.acceptance, settings_.strict};
    if (!engine_.initJoint(setup, modes)) return Start::noThreads;
    if (settings_.correlation != 0) tracker_.emplace(settings_, engine_, maps_, frames_);
    return Start::ready;
}

/// The frame with its rows one behind the other.
const std::uint8_t* Session::packed(const HostFrame& frame) {
    const std::int64_t rowBytes = std::int64_t{settings_.columns} * settings_.channels;
    if (frame.stride == rowBytes) return frame.pixels;
    packed_.resize(static_cast<std::size_t>(rowBytes * settings_.rows));
    for (std::int64_t r = 0; r < settings_.rows; ++r)
        std::memcpy(packed_.data() + r * rowBytes, frame.pixels + r * frame.stride,
                    static_cast<std::size_t>(rowBytes));
    return packed_.data();
}

Changes Session::add(const HostFrame& frame) {
    Changes changes;
    const std::uint8_t* pixels = packed(frame);
    FrameEntry entry;
    entry.tag = frame.tag;
    entry.given = frame.given;
    frames_.push_back(entry);
    try {
        if (tracker_) {
            tracker_->add(pixels, changes);
        } else {
            followLast(pixels, changes);
        }
    } catch (...) {
        frames_.pop_back();
        throw;
    }
    if (frames_.back().state == BRANTEL_PLACED) engine_.useIdleTime();
    return changes;
}

Changes Session::beginMap() {
    Changes changes;
    if (tracker_) {
        tracker_->beginMap(changes);
    } else if (maps_.countOf(group_) != 0) {
        ++group_;
    }
    return changes;
}

/// Without track keeping: a frame is registered against the last one that was placed, and that is all.
void Session::followLast(const std::uint8_t* pixels, Changes& changes) {
    frames_.back().group = group_;
    if (maps_.countOf(group_) == 0) {
        beginWith(pixels, changes);
        return;
    }
    Map& map = maps_.at(maps_.count());
    maps_.enter(map);
    const FrameEntry& last = frames_[static_cast<std::size_t>(map.templateFrame)];
    const std::int32_t longerSide = std::max(engine_.frame.rows, engine_.frame.cols);
    const CornerPoint before = engine_.mosaic.position();
    const StepEnd end = engine_.stitchFrame({nullptr, const_cast<std::uint8_t*>(pixels), 1, 1,
                                             expectedBetween(last, frames_.back(), longerSide), nullptr,
                                             nullptr, nullptr, nullptr});
    if (end == StepEnd::brokenOff) throw StepBrokenOff();
    if (end == StepEnd::done) {
        noteResult(map, before, changes);
        return;
    }
    frames_.back().state = BRANTEL_REFUSED;
    frames_.back().reason = unregisteredReason();
}

void Session::beginWith(const std::uint8_t* pixels, Changes& changes) {
    const bool brightnessPassed = maps_.count() > 0 && engine_.mosaic.record.stitch_flags == 1;
    std::vector<std::uint8_t> copy(pixels, pixels + engine_.frame.bytes());
    const Map& map = maps_.begin(group_, static_cast<std::int64_t>(frames_.size()) - 1, copy.data());
    // A brightness test that was passed once counts for later mosaics, too.
    if (brightnessPassed && !engine_.modes.byMotion()) engine_.mosaic.record.stitch_flags = 1;
    FrameEntry& entry = frames_.back();
    entry.state = BRANTEL_PLACED;
    entry.foundBy = BRANTEL_BY_FIRST;
    entry.map = map.number;
    entry.confidence = 1;
    changes.add(map.number, map.extent);
    ++changes.placed;
}

/// Reads off the engine what it did with a frame that it could register.
void Session::noteResult(Map& map, CornerPoint before, Changes& changes) {
    FrameEntry& entry = frames_.back();
    const FrameEntry& last = frames_[static_cast<std::size_t>(map.templateFrame)];
    const Offset offset = engine_.mosaic.offset();
    if (engine_.mosaic.record.stitch_flags != 1) {
        entry.state = BRANTEL_REFUSED;
        entry.reason = engine_.modes.byMotion() ? BRANTEL_MOTION : BRANTEL_BRIGHTNESS;
        return;
    }
    entry.foundBy = BRANTEL_BY_CORNERS;
    entry.matches = engine_.mosaic.record.matchCount;
    entry.confidence = static_cast<double>(entry.matches) / (entry.matches + 10);
    entry.joins = map.templateFrame;
    const ShiftSize size = frameShift(offset, engine_.frame.rows, engine_.frame.cols).size;
    if (size == ShiftSize::tooLarge) {
        entry.state = BRANTEL_REFUSED;
        entry.reason = BRANTEL_SHIFT_TOO_LARGE;
        return;
    }
    entry.map = map.number;
    entry.at = {last.at.x + offset.x, last.at.y + offset.y};
    if (size == ShiftSize::tooSmall) {
        entry.state = BRANTEL_SKIPPED;
        entry.reason = BRANTEL_SHIFT_TOO_SMALL;
        return;
    }
    entry.state = BRANTEL_PLACED;
    maps_.noteMerged(static_cast<std::int64_t>(frames_.size()) - 1, before, offset);
    changes.add(map.number, {entry.at.x, entry.at.y, engine_.frame.cols, engine_.frame.rows});
    ++changes.placed;
}

std::int32_t Session::unregisteredReason() const {
    const bool bare =
        engine_.currentSide.features.corners.empty() || engine_.previousSide.features.corners.empty();
    return bare ? BRANTEL_TOO_FEW_CORNERS : BRANTEL_TOO_FEW_MATCHES;
}

}  // namespace brantel::session
