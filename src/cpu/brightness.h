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

/// Fills the record's four brightness measures from the parts of canvas and current frame that overlap at the
/// record's offset. Idle workers lend a hand; may be null.
void measureBrightness(Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                       OverlapScratch& scratch, WorkerPair* workers);

}  // namespace brantel
