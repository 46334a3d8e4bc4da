// What adding one frame has changed.
#pragma once

#include <cstdint>
#include <vector>

#include "maps/rectangle.h"

namespace brantel::session {

class Changes {
  public:
    std::uint32_t bits = 0;
    std::int32_t placed = 0;  // frames

    /// Takes its memory at once: what was changed is noted when nothing may fail any more.
    Changes() { parts_.reserve(mostMaps); }

    void add(std::int32_t map, const Rectangle& rectangle) {
        for (Part& part : parts_)
            if (part.map == map) {
                part.rectangle = united(part.rectangle, rectangle);
                return;
            }
        parts_.push_back({map, rectangle});
    }
    /// A map moved over into another one; extent is where it lies there.
    void join(std::int32_t from, std::int32_t into, const Rectangle& extent) {
        for (Part& part : parts_)
            if (part.map == from) part = {};
        add(into, extent);
    }
    /// What holds all that changed in a map.
    Rectangle in(std::int32_t map) const {
        for (const Part& part : parts_)
            if (part.map == map) return part.rectangle;
        return {};
    }

  private:
    /// More than one frame can touch: it is compared with few frames, and few waiting ones follow it.
    static constexpr std::size_t mostMaps = 64;
    struct Part {
        std::int32_t map = 0;  // 0: none
        Rectangle rectangle;
    };
    std::vector<Part> parts_;
};

}  // namespace brantel::session
