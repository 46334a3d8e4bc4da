// A session: an engine, its maps and what is known about the frames.
#pragma once

#include <brantel/session.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "cpu/state.h"
#include "frame_list.h"
#include "interface/line_collector.h"
#include "maps/maps.h"
#include "tracking/changes.h"
#include "tracking/tracker.h"

namespace brantel::session {

/// A frame as a host hands it over.
struct HostFrame {
    const std::uint8_t* pixels = nullptr;
    std::int64_t stride = 0;
    std::int64_t tag = 0;
    std::optional<GivenPosition> given;
};

/// One thread at a time. Functions throw std::bad_alloc, std::length_error or StepBrokenOff; a frame whose adding throws
/// is not in the list.
class Session {
  public:
    /// The settings are complete and in their ranges. Not ready before start().
    explicit Session(const brantel_settings& settings);

    enum class Start { ready, unusableFrames, noThreads };
    Start start();

    /// What adding the frame changed; its entry is the last one.
    Changes add(const HostFrame& frame);
    Changes beginMap();

    const brantel_settings& settings() const { return settings_; }
    const FrameList& frames() const { return frames_; }
    const Maps& maps() const { return maps_; }
    /// In a process that was forked from the session's one.
    bool isInherited() const { return engine_.workers.areInherited(); }
    LineCollector& lines() { return lines_; }

  private:
    const std::uint8_t* packed(const HostFrame& frame);
    void followLast(const std::uint8_t* pixels, Changes& changes);
    void beginWith(const std::uint8_t* pixels, Changes& changes);
    void noteResult(Map& map, CornerPoint before, Changes& changes);
    std::int32_t unregisteredReason() const;

    const brantel_settings settings_;
    LineCollector lines_;
    CpuEngine engine_;
    FrameList frames_;
    Maps maps_;
    std::optional<Tracker> tracker_;  // none without track keeping
    std::vector<std::uint8_t> packed_;
    std::int32_t group_ = 0;  // without track keeping
};

}  // namespace brantel::session
