#include "coarse/piece.h"

#include <algorithm>

namespace brantel::session {

namespace {

void readBlockMeans(const std::uint8_t* from, const LevelView& view, std::int32_t cols, std::int16_t* to) {
    const std::int64_t block = view.block;
    const auto area = static_cast<std::uint32_t>(block * block);
    for (std::int32_t c = 0; c < cols; ++c) {
        std::uint32_t sum = area / 2;
        for (std::int64_t v = 0; v < block; ++v)
            for (std::int64_t u = 0; u < block; ++u) sum += from[v * view.stride + c * block + u];
        to[c] = static_cast<std::int16_t>(sum / area);
    }
}

/// Sum of (2 k - (side - 1))^2 over k from 0 to side - 1.
std::int64_t coordinateSquares(std::int32_t side) {
    return std::int64_t{side} * (std::int64_t{side} * side - 1) / 3;
}

}  // namespace

void readPiece(const LevelView& view, std::int32_t x, std::int32_t y, const PieceSize& size, std::int16_t* to,
               std::int64_t toStride) {
    const std::int64_t block = view.block;
    for (std::int32_t r = 0; r < size.rows; ++r, to += toStride) {
        const std::uint8_t* from = view.pixels + (y + r) * block * view.stride + x * block;
        const std::uint8_t* below = from + view.stride;
        if (block == 1)
            for (std::int32_t c = 0; c < size.cols; ++c) to[c] = from[c];
        else if (block == 2)
            for (std::int32_t c = 0; c < size.cols; ++c)
                to[c] = static_cast<std::int16_t>(
                    (from[2 * c] + from[2 * c + 1] + below[2 * c] + below[2 * c + 1] + 2) >> 2);
        else
            readBlockMeans(from, view, size.cols, to);
    }
}

template <class T>
Moments momentsOf(const T* piece, std::int64_t stride, const PieceSize& size) {
    Moments sums;
    for (std::int32_t r = 0; r < size.rows; ++r, piece += stride) {
        std::int32_t values = 0;
        std::int32_t squares = 0;
        std::int32_t byColumn = 0;
        for (std::int32_t c = 0; c < size.cols; ++c) {
            const std::int32_t value = piece[c];
            values += value;
            squares += value * value;
            byColumn += value * (2 * c - size.cols + 1);
        }
        sums.values += values;
        sums.squares += squares;
        sums.byColumn += byColumn;
        sums.byRow += std::int64_t{values} * (2 * r - size.rows + 1);
    }
    return sums;
}

template Moments momentsOf(const std::uint8_t*, std::int64_t, const PieceSize&);
template Moments momentsOf(const std::int16_t*, std::int64_t, const PieceSize&);

PlaneFit::PlaneFit(const PieceSize& size)
    : pixels(size.pixels()),
      columnSquares(size.rows * coordinateSquares(size.cols)),
      rowSquares(size.cols * coordinateSquares(size.rows)) {}

double PlaneFit::energy(const Moments& sums) const {
    const auto part = [](std::int64_t sum, std::int64_t norm) {
        const auto value = static_cast<double>(sum);
        return norm > 0 ? value * value / static_cast<double>(norm) : 0.0;
    };
    const double left = static_cast<double>(sums.squares) - part(sums.values, pixels) -
                        part(sums.byColumn, columnSquares) - part(sums.byRow, rowSquares);
    return std::max(left, 0.0);
}

}  // namespace brantel::session
