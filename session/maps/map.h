// One connected picture of a session.
#pragma once

#include <cstdint>

#include "cpu/map_state.h"
#include "maps/rectangle.h"

namespace brantel::session {

/// A point on the plane that all maps of a group are believed to lie on.
struct PlanePoint {
    double x = 0;
    double y = 0;
};

struct Map {
    std::int32_t number = 0;  // from 1
    std::int32_t group = 0;
    CpuMapState state;     // while the engine does not work on this map
    CornerPoint origin{};  // the canvas's pixel that has the coordinates (0, 0)
    Rectangle extent;      // of all frames
    std::int64_t frames = 0;
    std::int64_t templateFrame = -1;  // the frame whose window of the canvas is the template
    std::int32_t joinedInto = 0;      // number of the map that this one moved over into
    CornerPoint joinedBy{};           // what was added to its coordinates then
    PlanePoint reckoned;              // where its (0, 0) is believed to lie on the plane
};

}  // namespace brantel::session
