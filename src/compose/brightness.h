// The brightness measures of an overlap, taken on the processor.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/log.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"

namespace brantel {

/// The two cuts of an overlap and their grey images, kept from frame to frame.
struct OverlapBuffers {
    Buffer<std::uint8_t> canvasCut;
    Buffer<std::uint8_t> frameCut;
    Buffer<std::uint8_t> canvasGrey;
    Buffer<std::uint8_t> frameGrey;
};

/// The sizes of the two cuts.
struct OverlapParts {
    ImageDesc canvas{};
    ImageDesc frame{};
};

/// Cuts the parts of canvas and current frame that overlap at the record's offset. There is room for a frame in either cut.
OverlapParts cutOverlap(const Log& log, const Mosaic& mosaic, const std::uint8_t* current,
                        const ImageDesc& frame, std::uint8_t* canvasCut, std::uint8_t* frameCut);

/// Fills the record's four brightness measures from those parts. Idle workers help; may be null.
void measureBrightness(const Log& log, Mosaic& mosaic, const std::uint8_t* current, const ImageDesc& frame,
                       OverlapBuffers& buffers, WorkerPair* workers);

}  // namespace brantel
