// Feathers a frame into its window of the canvas: masks, distances, weights and fusion in a few passes through the cache.
#pragma once

#include <cstdint>

#include "common/arena.h"
#include "common/buffer.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"
#include "compose/seam_distances.h"

namespace brantel {

/// What blending keeps between frames.
struct SeamScratch {
    OccupancyImage canvasOccupied;
    OccupancyImage frameOccupied;
    Buffer<std::uint8_t> weights;        // one block for each thread
    Buffer<std::uint8_t> skewedWeights;  // likewise
    SeamDistances canvasDistances;
    SeamDistances frameDistances;
    Buffer<float> frameMemory;
    Buffer<float> rowLimits;  // distance of a full frame's pixel to its edge, by row and by column
    Buffer<float> columnLimits;

    /// Makes room; after this nothing can fail. The canvas's distances take the arena. A frame without empty pixels
    /// needs less.
    void ensure(const ImageDesc& size, bool frameIsFull, Arena<Buffer<float>>& arena);
};

/// The frame to be blended: its samples, and its grey image, whose zeros are its empty pixels.
struct SeamFrame {
    const std::uint8_t* samples;
    const std::uint8_t* grey;
    bool isFull;  // has no empty pixel: its distances are those to its edge

    SeamFrame(const std::uint8_t* frameSamples, const std::uint8_t* frameGrey, const ImageDesc& size);
};

/// Blends the frame into the window and writes the blended window's grey image. Idle workers help.
///
/// A mask is 255 where an image has content (a grey value above 0) and 0 elsewhere; the frame's mask is cleared at the
/// frame's edge, so that a new frame always fades out there. Distances to the nearest empty pixel come of two passes
/// with steps of 0.2 to the side and 0.3 across. A pixel's weight is 255 * canvas distance / (canvas distance + frame
/// distance), 0 where both are 0, and the blend weighs canvas and frame by it: divided by 256 with one channel and by
/// 255 with three, deliberately (quirk 42).
void blendSeam(const CanvasWindow& window, const SeamFrame& frame, const ImageDesc& size,
               SeamScratch& scratch, std::uint8_t* blendedGrey, WorkerPair* workers);

}  // namespace brantel
