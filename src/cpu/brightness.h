// The brightness measures of an overlap, taken on the processor by all backends.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "compose/mosaic.h"

namespace brantel {

struct OverlapScratch {
    Buffer<std::uint8_t> cutA;
    Buffer<std::uint8_t> cutB;
    Buffer<std::uint8_t> greyA;
    Buffer<std::uint8_t> greyB;
};

/// Grey copy of a packed image in a buffer that grows as needed.
const std::uint8_t* toGrey(const std::uint8_t* image, const ImageDesc& desc, Buffer<std::uint8_t>& grey);

/// Fills the record's four brightness measures from the parts of canvas and current frame that overlap at the
/// record's offset.
void measureBrightness(Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                       OverlapScratch& scratch);

}  // namespace brantel
