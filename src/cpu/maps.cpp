// The steps of a host that holds several mosaics and knows from elsewhere where frames may lie.
#include <cstring>
#include <utility>

#include "common/parallel_for.h"
#include "compose/grey.h"
#include "cpu/state.h"
#include "engine/mosaic_backup.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int64_t rowGrain = 32;  // rows handed out at a time

/// The grey image of a picture whose rows are stride bytes apart, with a zeroed row behind it.
void makeGreyOfRows(const std::uint8_t* pixels, std::int64_t stride, const ImageDesc& size,
                    Buffer<std::uint8_t>& grey, WorkerPair* workers) {
    const std::int64_t cols = size.cols;
    grey.ensure(size.pixels() + cols);
    parallelFor(workers, size.rows, rowGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
        for (std::int64_t r = first; r < last; ++r) {
            std::uint8_t* to = grey.data() + r * cols;
            if (size.channels == 3) {
                simd::kernels().greyRow(pixels + r * stride, cols, to);
            } else {
                std::memcpy(to, pixels + r * stride, static_cast<std::size_t>(cols));
            }
        }
    });
    std::memset(grey.data() + size.pixels(), 0, static_cast<std::size_t>(cols));
}

}  // namespace

/// Features are known for the template at hand only.
void CpuEngine::forgetFeatures() {
    idle.finish();
    if (mosaic.templateState == TemplateState::described) mosaic.templateState = TemplateState::placed;
}

void CpuEngine::exchangeMap(CpuMapState& other) noexcept {
    forgetFeatures();
    std::swap(mosaic, other.mosaic);
    templateGrey.swap(other.templateGrey);
    std::swap(motion, other.motion);
}

bool CpuEngine::beginMap(std::uint8_t* first) {
    forgetFeatures();
    fillZeroSamples(first, frame.bytes());
    makeGrey(first, frame, templateGrey, &workers);
    motion.setGrey(templateGrey.data(), frame.pixels());
    if (!startMosaic(log, mosaic, first, frame)) return false;
    mosaic.templateState = TemplateState::placed;
    return true;
}

void CpuEngine::takeCurrent(const std::uint8_t* pixels) {
    idle.hurry();
    current = pixels;
    makeGrey(pixels, frame, currentSide.grey, &workers);
}

void CpuEngine::takeTemplate(const std::uint8_t* pixels, std::int64_t stride, CornerPoint at) {
    forgetFeatures();
    templateGrey.ensure(frame.pixels() + frame.cols);
    makeGreyOfRows(pixels, stride, frame, templateGrey, &workers);
    mosaic.record.frameX = at.x;
    mosaic.record.frameY = at.y;
    mosaic.templateState = TemplateState::placed;
}

StepEnd CpuEngine::registerCurrent(const ExpectedShift& shift, StitchFlags& found) {
    expected = shift;
    MosaicBackup backup(mosaic);
    brokeOff_ = false;
    const bool registered = registerInto(found);
    if (brokeOff_) return StepEnd::brokenOff;
    backup.keepChanges();
    return registered ? StepEnd::done : StepEnd::refused;
}

StepEnd CpuEngine::mergeCurrent(Offset offset, std::int32_t matches) {
    idle.finish();  // the template is about to change, and registering may have been left out
    MosaicBackup backup(mosaic);
    brokeOff_ = false;
    mosaic.record.offset = {offset.x, offset.y};
    mosaic.record.matchCount = matches;
    const bool accepted = judge() && mosaic.record.stitch_flags == 1;
    const bool merged = accepted && stitchingImageImageblend();
    if (brokeOff_ || (accepted && !merged)) return StepEnd::brokenOff;
    backup.keepChanges();
    if (modes.byMotion()) keepAsLastSeen();
    return merged ? StepEnd::done : StepEnd::refused;
}

}  // namespace brantel
