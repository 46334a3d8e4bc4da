// The maps of a session and the one engine that works on them in turn.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "cpu/state.h"
#include "frame_list.h"
#include "maps/map.h"
#include "maps/map_pixels.h"

namespace brantel::session {

/// Thrown when the engine broke a step off: a worker failed or does not run. Nothing has changed.
struct StepBrokenOff {};

class Maps {
  public:
    /// The engine is ready for frames and has no mosaic yet.
    Maps(CpuEngine& engine, FrameList& frames) : engine_(engine), frames_(frames) {}

    std::int32_t count() const { return static_cast<std::int32_t>(maps_.size()); }
    Map& at(std::int32_t number) { return *maps_[static_cast<std::size_t>(number) - 1]; }
    const Map& at(std::int32_t number) const { return *maps_[static_cast<std::size_t>(number) - 1]; }
    /// The map that this one has been joined into, or itself.
    std::int32_t survivorOf(std::int32_t number) const;
    /// Maps in use of a group.
    std::int32_t countOf(std::int32_t group) const;

    /// Begins a map with a packed frame, whose zero samples become 1.
    Map& begin(std::int32_t group, std::int64_t frame, std::uint8_t* pixels);
    /// The engine works on this map from here on.
    void enter(Map& map);
    /// The engine works on no map; a template that it takes belongs to none.
    void leave();

    /// The frame's window of its map's canvas becomes the template.
    void useAsTemplate(std::int64_t frame);
    /// Merges the engine's current frame at an offset against the template; refused when it does not pass the acceptance
    /// test. Its entry is not touched.
    StepEnd merge(std::int64_t frame, Offset offset, std::int32_t matches);
    /// Notes what the engine did when it merged a frame into the map it works on. before is the record's position and
    /// offset the frame's offset against it.
    void noteMerged(std::int64_t frame, CornerPoint before, Offset offset);
    /// Moves a map over into another one at (x, y) + by and its frames' entries along. False when the result would be
    /// too large.
    bool join(Map& into, Map& from, CornerPoint by);

    /// A map in use.
    void read(const Map& map, const ReadRequest& request) const;
    const Mosaic& mosaicOf(const Map& map) const;

  private:
    bool makeRoom(Map& map, const Rectangle& rectangle);

    CpuEngine& engine_;
    FrameList& frames_;
    std::vector<std::unique_ptr<Map>> maps_;
    Map* entered_ = nullptr;
};

}  // namespace brantel::session
