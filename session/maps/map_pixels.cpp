#include "maps/map_pixels.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace brantel::session {

namespace {

/// Columns of a canvas row that may hold anything.
ColumnSpan paintedColumns(const Mosaic& mosaic, std::int64_t row) {
    if (row < 0 || row >= mosaic.canvas.rows) return {};
    const ColumnSpan& span = *mosaic.painted.from(static_cast<std::int32_t>(row));
    if (span.isEmpty()) return {};
    return {span.first - mosaic.painted.left(), span.last - mosaic.painted.left()};
}

/// Columns of the canvas, in 64 bits since a request may lie far outside of it.
struct LongSpan {
    std::int64_t first;
    std::int64_t last;

    bool isEmpty() const { return first >= last; }
};

/// What of the row's painted columns lies in the request.
LongSpan wanted(const Mosaic& mosaic, std::int64_t row, std::int64_t firstColumn, std::int64_t columns) {
    const ColumnSpan painted = paintedColumns(mosaic, row);
    return {std::max<std::int64_t>(painted.first, firstColumn),
            std::min<std::int64_t>(painted.last, firstColumn + columns)};
}

bool isPainted(const std::uint8_t* pixel, std::int32_t channels) {
    return channels == 1 ? pixel[0] != 0 : (pixel[0] | pixel[1] | pixel[2]) != 0;
}

void copyRow(const Mosaic& mosaic, std::int64_t row, std::int64_t firstColumn, const ReadRequest& request,
             std::uint8_t* to) {
    const std::int64_t channels = mosaic.canvas.channels();
    std::memset(to, 0, static_cast<std::size_t>(request.columns * channels));
    const LongSpan span = wanted(mosaic, row, firstColumn, request.columns);
    if (span.isEmpty()) return;
    std::memcpy(to + (span.first - firstColumn) * channels,
                mosaic.canvas.ptr(static_cast<int>(row), static_cast<int>(span.first)),
                static_cast<std::size_t>((span.last - span.first) * channels));
}

/// Sums of the painted pixels under each result pixel of a row.
class CellSums {
  public:
    CellSums(std::int32_t cells, std::int32_t channels, std::int32_t reduction)
        : channels_(channels),
          sums_(static_cast<std::size_t>(cells) * static_cast<std::size_t>(channels)),
          painted_(static_cast<std::size_t>(cells)) {
        while ((1 << shift_) < reduction) ++shift_;
    }

    void clear() {
        std::fill(sums_.begin(), sums_.end(), 0);
        std::fill(painted_.begin(), painted_.end(), 0);
    }

    /// Columns are counted from the first cell's first one.
    void add(const std::uint8_t* pixels, std::int64_t firstColumn, std::int64_t columns) {
        for (std::int64_t i = 0; i < columns; ++i, pixels += channels_) {
            if (!isPainted(pixels, channels_)) continue;
            const auto cell = static_cast<std::size_t>((firstColumn + i) >> shift_);
            ++painted_[cell];
            for (std::int32_t c = 0; c < channels_; ++c)
                sums_[cell * static_cast<std::size_t>(channels_) + static_cast<std::size_t>(c)] += pixels[c];
        }
    }

    void writeMeans(std::uint8_t* to) const {
        for (std::size_t cell = 0, i = 0; cell < painted_.size(); ++cell)
            for (std::int32_t c = 0; c < channels_; ++c, ++i) {
                const std::uint32_t count = painted_[cell];
                to[i] = count == 0 ? 0 : static_cast<std::uint8_t>((2 * sums_[i] + count) / (2 * count));
            }
    }

  private:
    std::int32_t channels_;
    std::int32_t shift_ = 0;           // of columns to cells: reductions are powers of two
    std::vector<std::uint32_t> sums_;  // a cell of 1024 x 1024 pixels reaches 2^28
    std::vector<std::uint32_t> painted_;
};

void addRow(const Mosaic& mosaic, std::int64_t row, std::int64_t firstColumn, const ReadRequest& request,
            CellSums& sums) {
    const LongSpan span = wanted(mosaic, row, firstColumn, std::int64_t{request.columns} * request.reduction);
    if (span.isEmpty()) return;
    sums.add(mosaic.canvas.ptr(static_cast<int>(row), static_cast<int>(span.first)), span.first - firstColumn,
             span.last - span.first);
}

}  // namespace

void readPart(const Mosaic& mosaic, CornerPoint origin, const ReadRequest& request) {
    const std::int64_t firstColumn = std::int64_t{origin.x} + request.x;
    const std::int64_t firstRow = std::int64_t{origin.y} + request.y;
    const bool reduced = request.reduction > 1;
    CellSums sums(reduced ? request.columns : 0, mosaic.canvas.channels(), request.reduction);
    for (std::int64_t r = 0; r < request.rows; ++r) {
        std::uint8_t* to = request.pixels + r * request.stride;
        if (!reduced) {
            copyRow(mosaic, firstRow + r, firstColumn, request, to);
            continue;
        }
        sums.clear();
        for (std::int64_t i = 0; i < request.reduction; ++i)
            addRow(mosaic, firstRow + r * request.reduction + i, firstColumn, request, sums);
        sums.writeMeans(to);
    }
}

void copyWhereEmpty(const Mosaic& from, const Region& part, Mosaic& to, CornerPoint at) {
    const std::int32_t channels = to.canvas.channels();
    for (std::int32_t r = part.rowStart; r < part.rowEnd; ++r) {
        const LongSpan span = wanted(from, r, part.colStart, part.colEnd - part.colStart);
        if (span.isEmpty()) continue;
        const auto first = static_cast<std::int32_t>(span.first);
        const auto last = static_cast<std::int32_t>(span.last);
        const std::int32_t row = at.y + r - part.rowStart;
        const std::int32_t column = at.x + first - part.colStart;
        const std::uint8_t* source = from.canvas.ptr(r, first);
        std::uint8_t* target = to.canvas.ptr(row, column);
        for (std::int32_t i = 0; i < last - first; ++i, source += channels, target += channels)
            if (!isPainted(target, channels)) std::memcpy(target, source, static_cast<std::size_t>(channels));
        to.painted.add({row, row + 1, column, column + last - first});
    }
}

}  // namespace brantel::session
