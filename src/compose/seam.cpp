#include "compose/seam.h"

#include <algorithm>
#include <cstring>

#include "common/crew.h"
#include "platform/platform.h"
#include "simd/level.h"

namespace brantel {

namespace {

using simd::seamLanes;
using simd::seamPadBefore;
using simd::seamPadBehind;

constexpr float far = 255.0F;
constexpr std::int64_t occupancyGrain = 32;  // rows handed out at a time

std::int64_t paddedRow(std::int64_t cols) {
    return seamPadBefore + cols + seamPadBehind;
}

/// Offset of a row's first pixel in the padded byte images, which start with a spare row.
std::int64_t rowAt(std::int64_t row, std::int64_t cols) {
    return (row + 1) * paddedRow(cols) + seamPadBefore;
}

std::int64_t paddedImage(std::int64_t rows, std::int64_t cols) {
    return (1 + rows + seamLanes + 1) * paddedRow(cols);
}

/// Elements of a block of rows in skewed order.
std::int64_t skewedBlock(std::int64_t cols) {
    return (cols + 2 * seamLanes) * seamLanes;
}

/// Blocks of the rows that the transform visits, all but the first and the last.
std::int64_t blockCount(std::int64_t rows) {
    return rows < 3 ? 0 : (rows - 2 + seamLanes - 1) / seamLanes;
}

/// Inwards from the edge of a full frame the distance grows by 0.2 a pixel, added up one by one, to 255.
void fillLimits(float* limits, std::int64_t length) {
    float distance = 0;
    for (std::int64_t i = 0; i < (length + 1) / 2; ++i) {
        limits[i] = limits[length - 1 - i] = distance;
        distance = std::min(far, distance + 0.2F);
    }
}

/// One blending with its sizes and pointers.
class SeamBlend {
  public:
    SeamBlend(std::uint8_t* window, std::int64_t stride, const SeamFrame& frame, const FrameSize& size,
              SeamScratch& scratch, std::uint8_t* grey, WorkerPair* workers)
        : window_(window),
          stride_(stride),
          frame_(frame),
          size_(size),
          scratch_(scratch),
          grey_(grey),
          workers_(workers) {}

    void run() {
        findEmptyOnCanvas();
        scratch_.canvasDistances.compute(scratch_.canvasOccupied.data() + rowAt(0, size_.cols),
                                         paddedRow(size_.cols), scratch_.canvasEmpty.data(), size_.rows,
                                         size_.cols);
        if (!frame_.isFull) {
            findEmptyInFrame();
            scratch_.frameDistances.compute(scratch_.frameOccupied.data() + rowAt(0, size_.cols),
                                            paddedRow(size_.cols), scratch_.frameEmpty.data(), size_.rows,
                                            size_.cols);
        }
        fuseEdgeRow(0);
        if (size_.rows > 1) fuseEdgeRow(size_.rows - 1);
        shareLoop(workers_, blockCount(size_.rows), 1,
                  [this](std::int64_t block, std::int64_t, std::int32_t hand) {
                      const std::int64_t first = 1 + block * seamLanes;
                      std::uint8_t* weights =
                          scratch_.weights.data() + hand * blockWeights(size_.cols) + rowAt(0, size_.cols);
                      weighBlock(block, first, scratch_.skewedWeights.data() + hand * skewedBlock(size_.cols),
                                 weights);
                      for (std::int64_t r = first;
                           r < std::min<std::int64_t>(first + seamLanes, size_.rows - 1); ++r)
                          fuseRow(r, weights + (r - first) * paddedRow(size_.cols));
                  });
    }

    /// Bytes of one block's weights, a padded image of its rows.
    static std::int64_t blockWeights(std::int64_t cols) { return paddedImage(seamLanes, cols); }

  private:
    void findEmptyOnCanvas() {
        const auto occupancy = simd::kernels().occupancyRow;
        shareLoop(
            workers_, size_.rows, occupancyGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
                for (std::int64_t r = first; r < last; ++r) {
                    platform::touchPages(window_ + r * stride_,
                                         static_cast<std::size_t>(std::int64_t{size_.cols} * size_.channels));
                    const bool empty = occupancy(window_ + r * stride_, size_.cols, size_.channels,
                                                 scratch_.canvasOccupied.data() + rowAt(r, size_.cols));
                    scratch_.canvasEmpty[static_cast<std::size_t>(r)] = empty ? 1 : 0;
                }
            });
    }

    /// Occupancy of the frame with its edge cleared.
    void findEmptyInFrame() {
        const auto occupancy = simd::kernels().occupancyRow;
        for (std::int64_t r = 0; r < size_.rows; ++r) {
            std::uint8_t* row = scratch_.frameOccupied.data() + rowAt(r, size_.cols);
            occupancy(frame_.grey + r * size_.cols, size_.cols, 1, row);
            if (r == 0 || r == size_.rows - 1) std::memset(row, 0, static_cast<std::size_t>(size_.cols));
            row[0] = row[size_.cols - 1] = 0;
            scratch_.frameEmpty[static_cast<std::size_t>(r)] = 1;
        }
    }

    void weighBlock(std::int64_t block, std::int64_t firstRow, std::uint8_t* skewed, std::uint8_t* weights) {
        const std::int64_t stride = paddedRow(size_.cols);
        if (scratch_.canvasDistances.isEmpty(block)) {
            for (std::int64_t i = 0; i < seamLanes; ++i)
                std::memset(weights + i * stride, 0, static_cast<std::size_t>(size_.cols));
            return;
        }
        // Nothing of the frame is like a full one at its edge. The canvas then has all the weight, but not
        // always 255: (255 * a) / a may round to just below it.
        static constexpr float atEdge[seamLanes] = {};
        const bool nothingNew = !frame_.isFull && scratch_.frameDistances.isEmpty(block);
        const bool byLimits = frame_.isFull || nothingNew;
        const simd::SeamKernels& kernels = simd::seamKernels();
        kernels.skewedWeights(scratch_.canvasDistances.block(block),
                              byLimits ? nullptr : scratch_.frameDistances.block(block),
                              nothingNew ? atEdge : scratch_.rowLimits.data() + firstRow,
                              scratch_.columnLimits.data() + seamPadBefore, size_.cols, skewed);
        kernels.unskewRows(skewed, size_.cols, weights, stride);
    }

    /// The first and last row have distance 255 or 0 on the canvas and 0 in the frame.
    void fuseEdgeRow(std::int64_t row) {
        fuseRow(row, scratch_.canvasOccupied.data() + rowAt(row, size_.cols));
    }

    void fuseRow(std::int64_t row, const std::uint8_t* weights) {
        const simd::Kernels& kernels = simd::kernels();
        std::uint8_t* canvas = window_ + row * stride_;
        std::uint8_t* grey = grey_ + row * size_.cols;
        kernels.fuseRow(frame_.samples + row * size_.cols * size_.channels, weights, size_.cols,
                        size_.channels, canvas);
        if (size_.channels == 3) {
            kernels.greyRow(canvas, size_.cols, grey);
        } else {
            std::memcpy(grey, canvas, static_cast<std::size_t>(size_.cols));
        }
    }

    std::uint8_t* window_;
    std::int64_t stride_;
    const SeamFrame& frame_;
    const FrameSize& size_;
    SeamScratch& scratch_;
    std::uint8_t* grey_;
    WorkerPair* workers_;
};

}  // namespace

void SeamDistances::ensure(std::int64_t rows, std::int64_t cols) {
    blockSize_ = skewedBlock(cols);
    const std::int64_t blocks = std::max<std::int64_t>(blockCount(rows), 1);
    distances_.ensure(blocks * blockSize_);
    lines_.ensure(3 * paddedRow(cols));
    skewed_.ensure(blockSize_);
    kinds_.resize(static_cast<std::size_t>(blocks));
    farBlock_.ensure(blockSize_);
    std::fill_n(farBlock_.data(), blockSize_, far);
}

float* SeamDistances::line(std::int64_t index) {
    return lines_.data() + index * paddedRow(cols_) + seamPadBefore;
}

bool SeamDistances::allFar(const float* line) const {
    return std::all_of(line, line + cols_, [](float distance) { return distance >= far; });
}

std::int64_t SeamDistances::rowsOf(std::int64_t block) const {
    return std::min(seamLanes, rows_ - 2 - block * seamLanes);
}

void SeamDistances::maskRow(const std::uint8_t* row, float* line) const {
    for (std::int64_t x = 0; x < cols_; ++x) line[x] = row[x];
}

SeamDistances::Kind SeamDistances::classify(const std::uint8_t* occupied, const std::uint8_t* anyEmpty,
                                            std::int64_t rows, const float* above) const {
    if (std::find(anyEmpty, anyEmpty + rows, 1) == anyEmpty + rows)
        return allFar(above) ? Kind::far : Kind::mixed;
    for (std::int64_t i = 0; i < rows; ++i)
        if (std::memchr(occupied + i * stride_, 255, static_cast<std::size_t>(cols_)) != nullptr)
            return Kind::mixed;
    return Kind::empty;
}

void SeamDistances::forwardBlock(std::int64_t block, const std::uint8_t* occupied, const float* above,
                                 float* bottom) {
    const simd::SeamKernels& kernels = simd::seamKernels();
    kernels.skewRows(occupied + (1 + block * seamLanes) * stride_, stride_, cols_, skewed_.data());
    kernels.chamferForward(skewed_.data(), cols_, rowsOf(block), above, memory(block), bottom);
}

void SeamDistances::passForward(const std::uint8_t* occupied, const std::uint8_t* anyEmpty) {
    float* finished = line(0);
    float* next = line(1);
    maskRow(occupied, finished);
    for (std::int64_t block = 0; block < blockCount(rows_); ++block) {
        const std::int64_t first = 1 + block * seamLanes;
        const Kind kind = classify(occupied + first * stride_, anyEmpty + first, rowsOf(block), finished);
        kinds_[static_cast<std::size_t>(block)] = kind;
        if (kind == Kind::mixed) {
            forwardBlock(block, occupied, finished, next);
        } else {
            std::fill_n(next, cols_, kind == Kind::far ? far : 0.0F);
        }
        std::swap(finished, next);
    }
}

void SeamDistances::passBackward(const std::uint8_t* occupied) {
    float* finished = line(0);
    float* next = line(1);
    maskRow(occupied + (rows_ - 1) * stride_, finished);
    for (std::int64_t block = blockCount(rows_) - 1; block >= 0; --block) {
        Kind& kind = kinds_[static_cast<std::size_t>(block)];
        if (kind == Kind::far && !allFar(finished)) {
            kind = Kind::mixed;  // far so far: the forward pass leaves the block as it is
            std::fill_n(next, cols_, far);
            forwardBlock(block, occupied, next, line(2));
        }
        if (kind == Kind::mixed) {
            simd::seamKernels().chamferBackward(cols_, rowsOf(block), finished, memory(block), next);
        } else {
            std::fill_n(next, cols_, kind == Kind::far ? far : 0.0F);
        }
        std::swap(finished, next);
    }
}

void SeamDistances::compute(const std::uint8_t* occupied, std::int64_t stride, const std::uint8_t* anyEmpty,
                            std::int64_t rows, std::int64_t cols) {
    rows_ = rows;
    cols_ = cols;
    stride_ = stride;
    passForward(occupied, anyEmpty);
    passBackward(occupied);
}

SeamFrame::SeamFrame(const std::uint8_t* frameSamples, const std::uint8_t* frameGrey, const FrameSize& size)
    : samples(frameSamples),
      grey(frameGrey),
      isFull(std::memchr(frameGrey, 0, static_cast<std::size_t>(size.pixels())) == nullptr) {}

void SeamScratch::ensure(const FrameSize& size, bool frameIsFull) {
    canvasOccupied.ensure(paddedImage(size.rows, size.cols));
    weights.ensure(crewSize * SeamBlend::blockWeights(size.cols));
    skewedWeights.ensure(crewSize * skewedBlock(size.cols));
    canvasEmpty.resize(static_cast<std::size_t>(size.rows));
    frameEmpty.resize(static_cast<std::size_t>(size.rows));
    canvasDistances.ensure(size.rows, size.cols);
    if (!frameIsFull) {
        frameOccupied.ensure(paddedImage(size.rows, size.cols));
        frameDistances.ensure(size.rows, size.cols);
    }
    rowLimits.ensure(size.rows + seamLanes);
    columnLimits.ensure(size.cols + 2 * seamPadBefore);
    fillLimits(rowLimits.data(), size.rows);
    fillLimits(columnLimits.data() + seamPadBefore, size.cols);
}

void blendSeam(std::uint8_t* window, std::int64_t stride, const SeamFrame& frame, const FrameSize& size,
               SeamScratch& scratch, std::uint8_t* blendedGrey, WorkerPair* workers) {
    SeamBlend(window, stride, frame, size, scratch, blendedGrey, workers).run();
}

}  // namespace brantel
