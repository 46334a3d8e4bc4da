// The hand-off of a frame pair to the workers and the estimation of its offset, the same for all backends; and for which
// expected shift the template's features are kept.
#include "engine/engine.h"

namespace brantel {

bool Engine::templateServes() const {
    return mosaic.templateState == TemplateState::described && sameShift(describedFor, expected);
}

void Engine::templateIsDescribed() {
    mosaic.templateState = TemplateState::described;
    describedFor = expected;
}

bool Engine::registerFrames(Job modelJob, Job matchJob, FrameFeatures& previous, FrameFeatures& current,
                            StitchFlags& found) {
    previous.corners.clear();
    current.corners.clear();
    log.streamLine("imageMosaicFun in");
    if (workers.runBoth(modelJob, matchJob)) return estimate(previous, current, found);
    breakOff();
    return false;
}

bool Engine::registerFrame(Job matchJob, const FrameFeatures& previous, FrameFeatures& current,
                           StitchFlags& found) {
    current.corners.clear();
    log.streamLine("imageMosaicFun in");
    if (workers.runAlone(matchJob)) return estimate(previous, current, found);
    breakOff();
    return false;
}

bool Engine::estimate(const FrameFeatures& previous, const FrameFeatures& current, StitchFlags& found) {
    Offset offset{found.offset.x, found.offset.y};
    if (!estimateOffset(log, previous, current, frame.rows, frame.cols, {&offset, &found.matchCount},
                        estimation, &workers))
        return false;
    found.offset.x = offset.x;
    found.offset.y = offset.y;
    return true;
}

}  // namespace brantel
