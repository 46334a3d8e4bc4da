#include "compose/painted.h"

namespace brantel {

PaintedRows::PaintedRows(std::int32_t rows, std::int32_t top, std::int32_t left)
    : spans_(std::make_shared<std::vector<ColumnSpan>>(static_cast<std::size_t>(rows))),
      top_(top),
      left_(left) {}

void PaintedRows::add(const Region& region) {
    const ColumnSpan columns{region.colStart + left_, region.colEnd + left_};
    for (std::int32_t r = region.rowStart; r < region.rowEnd; ++r) {
        ColumnSpan& span = (*spans_)[static_cast<std::size_t>(std::int64_t{top_} + r)];
        span = united(span, columns);
    }
}

PaintedRows PaintedRows::grown(std::int32_t rowsBefore, std::int32_t columnsBefore) const {
    PaintedRows painted = *this;
    painted.top_ -= rowsBefore;
    painted.left_ -= columnsBefore;
    return painted;
}

void PaintedRows::take(const PaintedRows& other, std::int32_t rows, std::int32_t row, std::int32_t column) {
    const ColumnSpan* spans = other.from(0);
    for (std::int32_t r = 0; r < rows; ++r)
        if (!spans[r].isEmpty())
            add({row + r, row + r + 1, spans[r].first - other.left_ + column,
                 spans[r].last - other.left_ + column});
}

}  // namespace brantel
