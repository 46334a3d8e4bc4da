// Pixels of a map's canvas: reading them at full size or reduced, and moving a map over into another one.
#pragma once

#include <cstdint>

#include "compose/mosaic.h"
#include "maps/rectangle.h"

namespace brantel::session {

/// A part of a map to be read: columns x rows result pixels, each the mean of reduction x reduction pixels.
struct ReadRequest {
    std::int64_t x = 0;  // coordinates of the first one; may lie far outside
    std::int64_t y = 0;
    std::int32_t columns = 0;
    std::int32_t rows = 0;
    std::int32_t reduction = 1;
    std::uint8_t* pixels = nullptr;
    std::int64_t stride = 0;  // bytes
};

/// Fills the request from a canvas whose pixel origin has the coordinates (0, 0). A result sample is the mean of the
/// painted pixels (not 0 in all channels), half up; 0 where nothing is painted and outside the canvas.
void readPart(const Mosaic& mosaic, CornerPoint origin, const ReadRequest& request);

/// Copies what is painted in a rectangle of one canvas to (x, y) of another one, where that is empty, and notes it as
/// painted there. The target must hold the rectangle.
void copyWhereEmpty(const Mosaic& from, const Region& part, Mosaic& to, CornerPoint at);

}  // namespace brantel::session
