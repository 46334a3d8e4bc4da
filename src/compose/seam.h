// Feathers a frame into its window of the canvas, all of weights.h in a few passes through the cache.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"
#include "compose/seam_distances.h"

namespace brantel {

/// What blending keeps between frames.
struct SeamScratch {
    OccupancyImage canvasOccupied;
    OccupancyImage frameOccupied;
    Buffer<std::uint8_t> weights;        // one block for each hand
    Buffer<std::uint8_t> skewedWeights;  // likewise
    SeamDistances canvasDistances;
    SeamDistances frameDistances;
    Buffer<float> rowLimits;  // distance of a full frame's pixel to its edge, by row and by column
    Buffer<float> columnLimits;

    /// Makes room; after this nothing can fail. A frame without empty pixels needs less.
    void ensure(const FrameSize& size, bool frameIsFull);
};

/// The frame to be blended: its samples, and its grey image, whose zeros are its empty pixels.
struct SeamFrame {
    const std::uint8_t* samples;
    const std::uint8_t* grey;
    bool isFull;  // has no empty pixel: its distances are those to its edge

    SeamFrame(const std::uint8_t* frameSamples, const std::uint8_t* frameGrey, const FrameSize& size);
};

/// Blends the frame into the window and writes the blended window's grey image. Same bytes as weightMask and
/// fuseImages. Idle workers lend a hand.
void blendSeam(const CanvasWindow& window, const SeamFrame& frame, const FrameSize& size,
               SeamScratch& scratch, std::uint8_t* blendedGrey, WorkerPair* workers);

}  // namespace brantel
