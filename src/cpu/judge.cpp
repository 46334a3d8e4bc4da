// What the acceptance test of the current frame is made on.
#include "compose/acceptance.h"
#include "cpu/state.h"

namespace brantel {

namespace {

GreyPart partOf(const std::uint8_t* grey, const ImageDesc& frame, const Region& region) {
    return {grey + std::int64_t{region.rowStart} * frame.cols + region.colStart, frame.cols,
            region.rowEnd - region.rowStart, region.colEnd - region.colStart};
}

}  // namespace

bool CpuEngine::measureMotion(std::int64_t* motionMeasure) {
    const std::uint8_t* first = begins() ? previousSide.grey.data() : nullptr;
    *motionMeasure = motion.measure(first, currentSide.grey.data(), frame.rows, frame.cols, &workers);
    return true;
}

bool CpuEngine::measureBrightness() {
    if (mosaic.templateState == TemplateState::unplaced) {
        brantel::measureBrightness(log, mosaic, current, frame, overlap, &workers);
        return true;
    }
    // What the canvas holds where the frames overlap is the template's part, whose grey image is at hand.
    const OverlapRegions parts = overlapRegions({0, 0}, mosaic.offset(), frame.rows, frame.cols);
    recordBrightness(mosaic.record, partOf(previousGrey(), frame, parts.canvas),
                     partOf(currentSide.grey.data(), frame, parts.frame), &workers);
    // A second initialisation may change the main mode: the motion test then finds the first frame as the last seen.
    if (begins()) motion.setGrey(previousSide.grey.data(), frame.pixels());
    return true;
}

}  // namespace brantel
