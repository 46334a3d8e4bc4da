// Blending a frame into the canvas.
#include <cstring>

#include "cpu/state.h"

namespace brantel {

bool CpuEngine::stitchingImageImageblend() {
    if (current == nullptr) {
        log.streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const SeamFrame seamFrame(current, currentSide.grey.data(), frame);
    seam.ensure(frame, seamFrame.isFull, arena);
    templateGrey.ensure(frame.pixels() + frame.cols);
    const bool merged = mergeInPlace(mosaic, frame, &workers, [&](const CanvasWindow& window) {
        blendSeam(window, seamFrame, frame, seam, templateGrey.data(), &workers);
        return true;
    });
    if (!merged) return false;
    std::memset(templateGrey.data() + frame.pixels(), 0, static_cast<std::size_t>(frame.cols));
    previousSide.grey.reset();  // only the first frame of a mosaic needs it
    previousDesc = {0, mosaic.canvas.channels(), frame.rows, frame.cols};
    return true;
}

}  // namespace brantel
