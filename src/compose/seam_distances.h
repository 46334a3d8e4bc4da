// Distances to the nearest empty pixel, by blocks of rows along a wavefront (see simd/kernels.h).
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "compose/regions.h"
#include "simd/kernels.h"

namespace brantel {

/// A byte for each pixel with room around it for whole blocks: 255 where the image holds something, else 0.
class OccupancyImage {
  public:
    /// Elements from row to row.
    static std::int64_t strideFor(std::int64_t cols) {
        return simd::seamPadBefore + cols + simd::seamPadBehind;
    }
    /// Elements for an image of so many rows, and where its row begins in them.
    static std::int64_t sizeFor(std::int64_t rows, std::int64_t cols) {
        return (1 + rows + simd::seamLanes + 1) * strideFor(cols);
    }
    static std::int64_t rowAt(std::int64_t row, std::int64_t cols) {
        return (row + 1) * strideFor(cols) + simd::seamPadBefore;
    }

    void ensure(std::int64_t rows, std::int64_t cols);
    std::int64_t rows() const { return rows_; }
    std::int64_t cols() const { return cols_; }
    std::int64_t stride() const { return strideFor(cols_); }
    std::uint8_t* row(std::int64_t r) { return bytes_.data() + rowAt(r, cols_); }
    const std::uint8_t* row(std::int64_t r) const { return bytes_.data() + rowAt(r, cols_); }

    /// To be told by who writes a row: from which to which column it holds anything, found by looking at the
    /// columns within, and whether it has an empty pixel anywhere.
    void describeRow(std::int64_t r, ColumnSpan within, bool anyEmpty);
    bool hasEmpty(std::int64_t r) const { return anyEmpty_[static_cast<std::size_t>(r)] != 0; }
    ColumnSpan occupied(std::int64_t r) const { return spans_[static_cast<std::size_t>(r)]; }

  private:
    Buffer<std::uint8_t> bytes_;
    std::vector<std::uint8_t> anyEmpty_;
    std::vector<ColumnSpan> spans_;
    std::int64_t rows_ = 0;
    std::int64_t cols_ = 0;
};

/// Elements of a block of rows in skewed order.
inline std::int64_t skewedBlock(std::int64_t cols) {
    return (cols + 2 * simd::seamLanes) * simd::seamLanes;
}

/// Blocks of the rows that the transform visits, all but the first and the last.
inline std::int64_t blockCount(std::int64_t rows) {
    return rows < 3 ? 0 : (rows - 2 + simd::seamLanes - 1) / simd::seamLanes;
}

/// Distances of one image, for the interior rows.
class SeamDistances {
  public:
    /// Floats of memory for the distances of an image.
    static std::int64_t memoryFor(std::int64_t rows, std::int64_t cols);
    /// Makes room for everything else. The memory must stay until the distances are no longer asked for.
    void ensure(std::int64_t rows, std::int64_t cols, float* memory);

    /// Both passes over an occupancy image. Each block gets the columns that hold anything, or all of them.
    void compute(const OccupancyImage& image, bool allColumns);

    /// True when every pixel of a block is empty; it then has no distances.
    bool isEmpty(std::int64_t block) const { return blockAt(block).kind == Kind::empty; }
    /// The columns that a block's distances are for. In all others they are 0.
    ColumnSpan columns(std::int64_t block) const { return blockAt(block).columns; }
    const float* block(std::int64_t block) const {
        return blockAt(block).kind == Kind::allFar ? farBlock_.data() : memory(block);
    }

  private:
    /// Most blocks need no arithmetic: nothing empty is near, or nothing is occupied.
    enum class Kind : std::uint8_t { allFar, empty, mixed };
    struct Block {
        Kind kind = Kind::empty;
        ColumnSpan columns;
    };

    Block classify(const OccupancyImage& image, std::int64_t block, const float* above,
                   bool allColumns) const;
    void passForward(const OccupancyImage& image, bool allColumns);
    void passBackward(const OccupancyImage& image);
    void passBlockForward(const OccupancyImage& image, std::int64_t block, const float* above, float* bottom);
    void writeOutAllFar(const OccupancyImage& image, std::int64_t block);
    void fillBeside(ColumnSpan columns, float* line) const;
    bool isAllFar(const float* line) const;
    std::int64_t rowsOf(std::int64_t block) const;
    void maskRow(const std::uint8_t* row, float* line) const;
    const Block& blockAt(std::int64_t block) const { return blocks_[static_cast<std::size_t>(block)]; }
    float* memory(std::int64_t block) const { return distances_ + block * blockSize_; }
    float* line(std::int64_t index);

    float* distances_ = nullptr;
    Buffer<float> farBlock_;
    Buffer<float> lines_;
    Buffer<std::uint8_t> skewed_;
    std::vector<Block> blocks_;
    std::int64_t rows_ = 0;
    std::int64_t cols_ = 0;
    std::int64_t blockSize_ = 0;
};

}  // namespace brantel
