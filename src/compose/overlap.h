// The overlap of the canvas and a new frame, and its brightness measures.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "compose/mosaic.h"

namespace brantel {

/// The two cuts of an overlap.
struct OverlapParts {
    ImageDesc canvas{};
    ImageDesc frame{};
};

/// Cuts the parts of canvas and current frame that overlap at the record's offset.
OverlapParts cutOverlap(const Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                        Buffer<std::uint8_t>& canvasCut, Buffer<std::uint8_t>& frameCut);

/// Fills the record's four brightness measures from the grey images of both cuts.
void recordBrightness(StitchFlags& record, const std::uint8_t* canvasGrey, const std::uint8_t* frameGrey,
                      const OverlapParts& parts);

}  // namespace brantel
