#include "compose/seam.h"

#include <algorithm>
#include <cstring>

#include "common/parallel_for.h"
#include "platform/platform.h"
#include "simd/level.h"

namespace brantel {

namespace {

using simd::farDistance;
using simd::seamLanes;
using simd::seamPadBefore;

constexpr std::int64_t rowGrain = 32;  // rows handed out at a time

/// Bytes of one block's weights, a padded image of its rows.
std::int64_t blockWeights(std::int64_t cols) {
    return (1 + seamLanes + 1) * OccupancyImage::strideFor(cols);
}

/// Inwards from the edge of a full frame the distance grows by 0.2 a pixel, added up one by one, to 255.
void fillLimits(float* limits, std::int64_t length) {
    float distance = 0;
    for (std::int64_t i = 0; i < (length + 1) / 2; ++i) {
        limits[i] = limits[length - 1 - i] = distance;
        distance = std::min(farDistance, distance + 0.2F);
    }
}

/// One blending with its sizes and pointers.
class SeamBlend {
  public:
    SeamBlend(const CanvasWindow& window, const SeamFrame& frame, const ImageDesc& size, SeamScratch& scratch,
              std::uint8_t* grey, WorkerPair* workers)
        : window_(window), frame_(frame), size_(size), scratch_(scratch), grey_(grey), workers_(workers) {}

    void run() {
        findEmptyOnCanvas();
        findDistances();
        fuseEdgeRow(0);
        if (size_.rows > 1) fuseEdgeRow(size_.rows - 1);
        parallelFor(
            workers_, blockCount(size_.rows), 1,
            [this](std::int64_t block, std::int64_t, std::int32_t thread) { fuseBlock(block, thread); });
    }

  private:
    std::uint8_t* samplesAt(std::int64_t row, std::int64_t column) const {
        return window_.pixels + row * window_.stride + column * size_.channels;
    }
    std::size_t bytesOf(ColumnSpan columns) const {
        return static_cast<std::size_t>(columns.length() * size_.channels);
    }

    /// The columns of a row in which the canvas may hold anything.
    ColumnSpan paintedIn(std::int64_t row) const { return window_.paintedIn(row, size_.cols); }

    bool allPainted() const {
        for (std::int64_t r = 0; r < size_.rows; ++r)
            if (paintedIn(r).length() < size_.cols) return false;
        return true;
    }

    void findEmptyOnCanvas() {
        parallelFor(workers_, size_.rows, rowGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
            for (std::int64_t r = first; r < last; ++r) findEmptyInRow(r);
        });
    }

    void findEmptyInRow(std::int64_t r) {
        const ColumnSpan painted = paintedIn(r);
        std::uint8_t* occupied = scratch_.canvasOccupied.row(r);
        bool anyEmpty = painted.length() < size_.cols;
        std::memset(occupied, 0, static_cast<std::size_t>(painted.first));
        if (!painted.isEmpty()) {
            std::uint8_t* samples = samplesAt(r, painted.first);
            platform::touchPages(samples, bytesOf(painted));
            anyEmpty |= simd::kernels().occupancyRow(samples, painted.length(), size_.channels,
                                                     occupied + painted.first);
        }
        std::memset(occupied + painted.last, 0, static_cast<std::size_t>(size_.cols - painted.last));
        scratch_.canvasOccupied.describeRow(r, painted, anyEmpty);
    }

    /// The distances are one job each, too entangled to be split. Meanwhile the other threads make the system
    /// provide the memory of what was never painted.
    void findDistances() {
        const std::int64_t transforms = frame_.isFull ? 1 : 2;
        const std::int64_t groups = allPainted() ? 0 : (size_.rows + rowGrain - 1) / rowGrain;
        parallelFor(workers_, transforms + groups, 1, [&](std::int64_t job, std::int64_t, std::int32_t) {
            if (job == 0) {
                scratch_.canvasDistances.compute(scratch_.canvasOccupied, !frame_.isFull);
            } else if (job < transforms) {
                findFrameDistances();
            } else {
                touchUnpainted((job - transforms) * rowGrain);
            }
        });
    }

    void findFrameDistances() {
        findEmptyInFrame();
        scratch_.frameDistances.compute(scratch_.frameOccupied, true);
    }

    /// Occupancy of the frame with its edge cleared.
    void findEmptyInFrame() {
        const auto occupancy = simd::kernels().occupancyRow;
        for (std::int64_t r = 0; r < size_.rows; ++r) {
            std::uint8_t* row = scratch_.frameOccupied.row(r);
            occupancy(frame_.grey + r * size_.cols, size_.cols, 1, row);
            if (r == 0 || r == size_.rows - 1) std::memset(row, 0, static_cast<std::size_t>(size_.cols));
            row[0] = row[size_.cols - 1] = 0;
            scratch_.frameOccupied.describeRow(r, {0, size_.cols}, true);
        }
    }

    void touchUnpainted(std::int64_t first) {
        for (std::int64_t r = first; r < std::min<std::int64_t>(first + rowGrain, size_.rows); ++r) {
            const ColumnSpan painted = paintedIn(r);
            platform::touchPages(samplesAt(r, 0), bytesOf({0, painted.first}));
            platform::touchPages(samplesAt(r, painted.last), bytesOf({painted.last, size_.cols}));
        }
    }

    void fuseBlock(std::int64_t block, std::int32_t thread) {
        const std::int64_t first = 1 + block * seamLanes;
        const std::int64_t stride = OccupancyImage::strideFor(size_.cols);
        std::uint8_t* weights = scratch_.weights.data() + thread * blockWeights(size_.cols) +
                                OccupancyImage::rowAt(0, size_.cols);
        const ColumnSpan columns = scratch_.canvasDistances.columns(block);
        if (!columns.isEmpty())
            weighBlock(block, first, columns,
                       scratch_.skewedWeights.data() + thread * skewedBlock(size_.cols), weights);
        for (std::int64_t i = 0; i < std::min<std::int64_t>(seamLanes, size_.rows - 1 - first); ++i)
            fuseRow(first + i, weights + i * stride, columns);
    }

    void weighBlock(std::int64_t block, std::int64_t firstRow, ColumnSpan columns, std::uint8_t* skewed,
                    std::uint8_t* weights) {
        const simd::SeamKernels& kernels = simd::seamKernels();
        const float* canvas = scratch_.canvasDistances.block(block);
        if (frame_.isFull) {
            // The limits of the columns are read backwards from their end.
            const float* columnLimits =
                scratch_.columnLimits.data() + seamPadBefore + size_.cols - columns.last;
            kernels.weightsByLimits(canvas, scratch_.rowLimits.data() + firstRow, columnLimits,
                                    columns.length(), skewed);
        } else if (scratch_.frameDistances.isEmpty(block)) {
            // The canvas has all the weight, but not always 255: (255 * a) / a may round to just below it.
            kernels.weightsOfCanvas(canvas, columns.length(), skewed);
        } else {
            kernels.weightsByDistances(canvas, scratch_.frameDistances.block(block), columns.length(),
                                       skewed);
        }
        kernels.unskewRows(skewed, columns.length(), weights + columns.first,
                           OccupancyImage::strideFor(size_.cols));
    }

    /// The first and last row have distance 255 or 0 on the canvas and 0 in the frame.
    void fuseEdgeRow(std::int64_t row) { fuseSpan(row, scratch_.canvasOccupied.row(row), {0, size_.cols}); }

    /// Weights are given for some columns. In all others the canvas has none.
    void fuseRow(std::int64_t row, std::uint8_t* weights, ColumnSpan columns) {
        const ColumnSpan before{0, columns.first};
        const ColumnSpan behind{columns.last, size_.cols};
        if (size_.channels == 1) {  // dividing by 256 darkens what only the frame holds, too
            std::memset(weights, 0, static_cast<std::size_t>(before.length()));
            std::memset(weights + behind.first, 0, static_cast<std::size_t>(behind.length()));
            fuseSpan(row, weights, {0, size_.cols});
            return;
        }
        takeSpan(row, before);
        fuseSpan(row, weights, columns);
        takeSpan(row, behind);
    }

    /// The frame as it is.
    void takeSpan(std::int64_t row, ColumnSpan columns) {
        const std::int64_t at = row * size_.cols + columns.first;
        std::memcpy(samplesAt(row, columns.first), frame_.samples + at * size_.channels, bytesOf(columns));
        std::memcpy(grey_ + at, frame_.grey + at, static_cast<std::size_t>(columns.length()));
    }

    void fuseSpan(std::int64_t row, const std::uint8_t* weights, ColumnSpan columns) {
        const simd::Kernels& kernels = simd::kernels();
        const std::int64_t at = row * size_.cols + columns.first;
        std::uint8_t* canvas = samplesAt(row, columns.first);
        kernels.fuseRow(frame_.samples + at * size_.channels, weights + columns.first, columns.length(),
                        size_.channels, canvas);
        if (size_.channels == 3) {
            kernels.greyRow(canvas, columns.length(), grey_ + at);
        } else {
            std::memcpy(grey_ + at, canvas, static_cast<std::size_t>(columns.length()));
        }
    }

    const CanvasWindow& window_;
    const SeamFrame& frame_;
    const ImageDesc& size_;
    SeamScratch& scratch_;
    std::uint8_t* grey_;
    WorkerPair* workers_;
};

}  // namespace

SeamFrame::SeamFrame(const std::uint8_t* frameSamples, const std::uint8_t* frameGrey, const ImageDesc& size)
    : samples(frameSamples),
      grey(frameGrey),
      isFull(std::memchr(frameGrey, 0, static_cast<std::size_t>(size.pixels())) == nullptr) {}

void SeamScratch::ensure(const ImageDesc& size, bool frameIsFull, Arena<Buffer<float>>& arena) {
    canvasOccupied.ensure(size.rows, size.cols);
    weights.ensure(loopThreads * blockWeights(size.cols));
    skewedWeights.ensure(loopThreads * skewedBlock(size.cols));
    const std::int64_t distances = SeamDistances::memoryFor(size.rows, size.cols);
    arena.block.ensure(distances);
    canvasDistances.ensure(size.rows, size.cols, arena.begin(Phase::blending));
    if (!frameIsFull) {
        frameOccupied.ensure(size.rows, size.cols);
        frameMemory.ensure(distances);
        frameDistances.ensure(size.rows, size.cols, frameMemory.data());
    }
    rowLimits.ensure(size.rows + seamLanes);
    columnLimits.ensure(size.cols + 2 * seamPadBefore);
    fillLimits(rowLimits.data(), size.rows);
    fillLimits(columnLimits.data() + seamPadBefore, size.cols);
}

void blendSeam(const CanvasWindow& window, const SeamFrame& frame, const ImageDesc& size,
               SeamScratch& scratch, std::uint8_t* blendedGrey, WorkerPair* workers) {
    SeamBlend(window, frame, size, scratch, blendedGrey, workers).run();
}

}  // namespace brantel
