#include "cpu/brightness.h"

#include <cstring>

#include "compose/overlap.h"
#include "cpu/image_ops.h"

namespace brantel {

namespace {

/// Grey copy of a packed image in a buffer that grows as needed.
GreyPart toGrey(const std::uint8_t* image, const ImageDesc& desc, Buffer<std::uint8_t>& grey) {
    grey.ensure(desc.pixels());
    if (desc.channels > 1) {
        rgb2gray(image, desc.rows, desc.cols, grey.data());
    } else {
        std::memcpy(grey.data(), image, static_cast<std::size_t>(desc.pixels()));
    }
    return GreyPart::whole(grey.data(), desc.rows, desc.cols);
}

}  // namespace

void measureBrightness(Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                       OverlapScratch& scratch, WorkerPair* workers) {
    const OverlapParts parts = cutOverlap(mosaic, current, frame, scratch.cutA, scratch.cutB);
    recordBrightness(mosaic.record, toGrey(scratch.cutA.data(), parts.canvas, scratch.greyA),
                     toGrey(scratch.cutB.data(), parts.frame, scratch.greyB), workers);
}

}  // namespace brantel
