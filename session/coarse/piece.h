// Small pieces of a picture and the planes that lie through them.
#pragma once

#include <cstdint>

namespace brantel::session {

/// A stored picture seen at a level: every pixel is the mean of a block of stored ones.
struct LevelView {
    const std::uint8_t* pixels;
    std::int64_t stride;  // stored pixels per row
    std::int32_t block;   // stored pixels per pixel, along each side
    std::int32_t rows;    // in pixels of the level
    std::int32_t cols;
};

struct PieceSize {
    std::int32_t cols;
    std::int32_t rows;

    std::int32_t pixels() const { return cols * rows; }
};

/// Reads the piece at (x, y), which must lie within the level, into rows that are so many elements apart.
void readPiece(const LevelView& view, std::int32_t x, std::int32_t y, const PieceSize& size, std::int16_t* to,
               std::int64_t toStride);

/// Sums over a piece. Columns and rows count from its middle, in half pixels.
struct Moments {
    std::int64_t values = 0;
    std::int64_t squares = 0;
    std::int64_t byColumn = 0;
    std::int64_t byRow = 0;
};

/// Of stored pixels, or of those that were read.
template <class T>
Moments momentsOf(const T* piece, std::int64_t stride, const PieceSize& size);

/// What a least-squares plane takes away from a piece of a size: shading and vignetting would look like structure
/// otherwise.
struct PlaneFit {
    explicit PlaneFit(const PieceSize& size);

    /// Sum of the squares that are left without the plane.
    double energy(const Moments& sums) const;

    std::int64_t pixels;
    std::int64_t columnSquares;  // of the coordinates that moments use
    std::int64_t rowSquares;
};

}  // namespace brantel::session
