#include "cpu/brightness.h"

#include <cstring>

#include "compose/overlap.h"
#include "cpu/image_ops.h"

namespace brantel {

const std::uint8_t* toGrey(const std::uint8_t* image, const ImageDesc& desc, Buffer<std::uint8_t>& grey) {
    grey.ensure(desc.pixels());
    if (desc.channels > 1) {
        rgb2gray(image, desc.rows, desc.cols, grey.data());
    } else {
        std::memcpy(grey.data(), image, static_cast<std::size_t>(desc.pixels()));
    }
    return grey.data();
}

void measureBrightness(Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                       OverlapScratch& scratch) {
    const OverlapParts parts = cutOverlap(mosaic, current, frame, scratch.cutA, scratch.cutB);
    const std::uint8_t* canvasGrey = toGrey(scratch.cutA.data(), parts.canvas, scratch.greyA);
    const std::uint8_t* frameGrey = toGrey(scratch.cutB.data(), parts.frame, scratch.greyB);
    recordBrightness(mosaic.record, canvasGrey, frameGrey, parts);
}

}  // namespace brantel
