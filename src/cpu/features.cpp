// Corners and descriptors of both frames, and the offset that follows from them.
#include <cstring>

#include "cpu/state.h"
#include "registration/descriptors.h"
#include "registration/expected_overlap.h"

namespace brantel {

namespace {

void detectInOverlap(const Log& log, CpuSide& side, const std::uint8_t* grey, const ImageDesc& frame,
                     const ExpectedShift& expected, const CornerTuning& tuning, const DetectionHelp* help) {
    const ExpectedOverlap part = expectedOverlap(side.role, expected, frame.rows, frame.cols);
    ImageDesc crop = part.size();
    side.crop.ensure(frame.pixels());
    cropImageRegion(log, grey, {part.rowStart, part.rowEnd, part.colStart, part.colEnd}, frame.rows,
                    frame.cols, 1, &crop, side.crop.data());
    findHarrisCornerCoordianteFun(log, side.crop.data(), crop, tuning, side.images, side.features.corners,
                                  help);
    for (CornerPoint& corner : side.features.corners) {
        corner.x += part.colStart;
        corner.y += part.rowStart;
    }
}

}  // namespace

/// The previous frame of this call as a grey image.
const std::uint8_t* CpuEngine::previousGrey() const {
    const bool ownImage = begins() || mosaic.templateState == TemplateState::none;
    return ownImage ? previousSide.grey.data() : templateGrey.data();
}

void CpuEngine::describeSide(const Log& to, CpuSide& side, const std::uint8_t* grey,
                             const ExpectedShift& shift, const DetectionHelp* help) const {
    if (shift.use) {
        detectInOverlap(to, side, grey, frame, shift, tuning, help);
    } else {
        findHarrisCornerCoordianteFun(to, grey, {0, 1, frame.rows, frame.cols}, tuning, side.images,
                                      side.features.corners, help);
    }
    describeCorners(to, side.features, grey, frame.rows, frame.cols, side.scratch,
                    help == nullptr ? nullptr : help->workers);
}

void CpuEngine::describePrevious() {
    if (mosaic.templateState == TemplateState::none) {
        // Black, in which nothing is found: the old mosaic's last frame must not place frames on a new one (quirk 10).
        const std::int64_t bytes = frame.pixels() + frame.cols;
        previousSide.grey.ensure(bytes);
        std::memset(previousSide.grey.data(), 0, static_cast<std::size_t>(bytes));
    }
    describeTemplate(previousSide.features,
                     [&] { describeSide(log, previousSide, previousGrey(), expected, nullptr); });
}

bool CpuEngine::imageMosaicFun() {
    if (current == nullptr) {
        log.streamLine("imageMosaicFun ptr is null");
        return false;
    }
    return registerInto(mosaic.record);
}

/// The current frame is described by all threads that are free. What idle workers were to find out about the template is
/// then there, too, or is found out now.
void CpuEngine::registerAlone() {
    const DetectionHelp help{&workers, &arena};
    describeSide(log, currentSide, currentSide.grey.data(), expected, idle.isBusy() ? nullptr : &help);
    if (templateServes()) return;
    if (idle.finish()) {
        templateIsDescribed();
        return;
    }
    previousSide.features.corners.clear();
    describePrevious();
}

bool CpuEngine::registerInto(StitchFlags& found) {
    const bool placed = mosaic.templateState == TemplateState::placed;
    if (templateServes() || (placed && idle.describesFor(expected))) {
        auto alone = [&] { registerAlone(); };
        return registerFrame(Job::of(alone), previousSide.features, currentSide.features, found);
    }
    idle.finish();
    auto model = [&] { describePrevious(); };
    auto match = [&] { describeSide(log, currentSide, currentSide.grey.data(), expected, nullptr); };
    return registerFrames(Job::of(model), Job::of(match), previousSide.features, currentSide.features, found);
}

}  // namespace brantel
