#include "gpu/zero_sum.h"

#include <algorithm>
#include <vector>

#include "compose/bands.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int32_t border = 4;

/// Every second row and column, filtered along the rows.
void filterRows(const Log& log, const std::uint8_t* grey, std::int64_t stride, std::int32_t rows,
                std::int32_t cols, std::uint8_t* out) {
    const std::int32_t paddedCols = cols + 2 * border;
    std::vector<std::uint8_t> half(static_cast<std::size_t>(cols));
    std::vector<std::uint8_t> padded(static_cast<std::size_t>(paddedCols));
    std::vector<std::uint8_t> filtered(padded.size());
    for (std::int64_t r = 0; r < rows; ++r) {
        simd::kernels().halveRow(grey + 2 * r * stride, cols, half.data());
        padColumnsMirror(log, half.data(), 1, cols, border, padded.data());
        filterRowZeroSum9(log, padded.data(), 1, paddedCols, 0, filtered.data());
        cropColumns(log, filtered.data(), 1, paddedCols, border, out + r * cols);
    }
}

/// Which row is row at of an image padded like its columns (quirk 47).
std::int64_t paddedRow(std::int64_t at, std::int64_t rows) {
    if (at < border) return border - at;
    return at < border + rows ? at - border : at - 2 * border - 1;
}

/// The same filter along the columns, modulo 256 (quirk 48): whole rows at once instead of columns one by one.
void filterColumns(const std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                   std::uint8_t* __restrict out) {
    for (std::int64_t r = 0; r < rows; ++r, out += cols) {
        const std::uint8_t* p[2 * border + 1];
        for (std::int64_t k = 0; k <= 2 * border; ++k) p[k] = image + paddedRow(r + k, rows) * cols;
        for (std::int64_t c = 0; c < cols; ++c)
            out[c] = static_cast<std::uint8_t>(4 * p[4][c] + 2 * (p[3][c] + p[5][c] - p[1][c] - p[7][c]) -
                                               p[0][c] - p[2][c] - p[6][c] - p[8][c]);
    }
}

/// First and last row, the first 10 columns and the last 11.
void clearEdges(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols) {
    zeroRowBand8(log, image, rows, cols, 0, 1);
    zeroRowBand8(log, image, rows, cols, rows - 1, rows);
    zeroColumnBand8(log, image, rows, cols, 0, std::min(10, cols));
    zeroColumnBand8(log, image, rows, cols, std::max(cols - 11, 0), cols);
}

}  // namespace

void zeroSumImage(const Log& log, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                  Buffer<std::uint8_t>& out) {
    const std::int32_t halfRows = rows / 2;
    const std::int32_t halfCols = cols / 2;
    if (halfRows <= border || halfCols <= border) return;
    const auto pixels = std::int64_t{halfRows} * halfCols;
    std::vector<std::uint8_t> alongRows(static_cast<std::size_t>(pixels));
    filterRows(log, grey, cols, halfRows, halfCols, alongRows.data());
    out.ensure(pixels);
    filterColumns(alongRows.data(), halfRows, halfCols, out.data());
    clearEdges(log, out.data(), halfRows, halfCols);
}

}  // namespace brantel
