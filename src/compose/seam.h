// Feathers a frame into its window of the canvas, all of weights.h in a few passes through the cache.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"

namespace brantel {

/// Distances of one image to its nearest empty pixel, for the interior rows, in the skewed blocks of the
/// wavefront (see simd/kernels.h).
class SeamDistances {
  public:
    void ensure(std::int64_t rows, std::int64_t cols);

    /// Both passes over an occupancy image. anyEmpty tells for each row whether it has an empty pixel.
    void compute(const std::uint8_t* occupied, std::int64_t stride, const std::uint8_t* anyEmpty,
                 std::int64_t rows, std::int64_t cols);

    /// True when every pixel of a block is empty; it then has no distances.
    bool isEmpty(std::int64_t block) const { return kinds_[static_cast<std::size_t>(block)] == Kind::empty; }
    const float* block(std::int64_t block) const {
        return kinds_[static_cast<std::size_t>(block)] == Kind::far ? farBlock_.data() : memory(block);
    }

  private:
    /// Most blocks need no arithmetic: nothing empty is near, or nothing is occupied.
    enum class Kind : std::uint8_t { far, empty, mixed };

    Kind classify(const std::uint8_t* occupied, const std::uint8_t* anyEmpty, std::int64_t rows,
                  const float* above) const;
    void passForward(const std::uint8_t* occupied, const std::uint8_t* anyEmpty);
    void passBackward(const std::uint8_t* occupied);
    void forwardBlock(std::int64_t block, const std::uint8_t* occupied, const float* above, float* bottom);
    bool allFar(const float* line) const;
    std::int64_t rowsOf(std::int64_t block) const;
    void maskRow(const std::uint8_t* row, float* line) const;
    float* memory(std::int64_t block) { return distances_.data() + block * blockSize_; }
    const float* memory(std::int64_t block) const { return distances_.data() + block * blockSize_; }
    float* line(std::int64_t index);

    Buffer<float> distances_;
    Buffer<float> farBlock_;
    Buffer<float> lines_;
    Buffer<std::uint8_t> skewed_;
    std::vector<Kind> kinds_;
    std::int64_t rows_ = 0;
    std::int64_t cols_ = 0;
    std::int64_t stride_ = 0;
    std::int64_t blockSize_ = 0;
};

/// What blending keeps between frames. Byte images have room around them for whole blocks.
struct SeamScratch {
    Buffer<std::uint8_t> canvasOccupied;
    Buffer<std::uint8_t> frameOccupied;
    Buffer<std::uint8_t> weights;
    Buffer<std::uint8_t> skewedWeights;     // one block for each hand
    std::vector<std::uint8_t> canvasEmpty;  // per row: holds an empty pixel
    std::vector<std::uint8_t> frameEmpty;
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

/// Blends the frame into the window (rows stride bytes apart) and writes the blended window's grey image.
/// Same bytes as weightMask and fuseImages. Idle workers lend a hand.
void blendSeam(std::uint8_t* window, std::int64_t stride, const SeamFrame& frame, const FrameSize& size,
               SeamScratch& scratch, std::uint8_t* blendedGrey, WorkerPair* workers);

}  // namespace brantel
