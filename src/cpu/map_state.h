// What belongs to one of several mosaics that an engine works on in turn.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "compose/mosaic.h"
#include "compose/motion.h"

namespace brantel {

/// A mosaic that the engine does not work on at the moment. Empty until it was begun.
struct CpuMapState {
    Mosaic mosaic;
    Buffer<std::uint8_t> templateGrey;
    MotionReference motion;
};

}  // namespace brantel
