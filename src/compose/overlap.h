// The overlap of the canvas and a new frame, and its brightness measures.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "compose/judgement.h"
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

/// Fills the record's four brightness measures from the grey images of both parts. Idle workers lend a hand; may be
/// null.
void recordBrightness(StitchFlags& record, const GreyPart& canvas, const GreyPart& frame, WorkerPair* workers);

}  // namespace brantel
