#include "engine/geometry.h"

#include <limits>

#include "compose/canvas.h"

namespace brantel {

namespace {

/// Side of a new canvas in 64 bits, where no frame is too long.
std::int64_t wideCanvasSide(std::int32_t frameSide) {
    constexpr std::int32_t longestSide = std::numeric_limits<std::int32_t>::max() / 2;
    return frameSide > longestSide ? frameSide : newCanvasSide(frameSide);
}

}  // namespace

bool framesAreUsable(const Log& log, const FrameSetup& setup) {
    if (setup.rows < 1 || setup.cols < 1 || (setup.channels != 1 && setup.channels != 3)) {
        log.streamLine("initJoint refused: rows and columns must be positive, channels 1 or 3");
        return false;
    }
    const std::int64_t area = wideCanvasSide(setup.rows) * wideCanvasSide(setup.cols);
    if (area <= std::numeric_limits<std::int32_t>::max()) return true;
    log.streamLine("initJoint refused: the canvas of such frames would have more than 2147483647 pixels");
    return false;
}

}  // namespace brantel
