#include "compose/painted.h"

namespace brantel {

PaintedRows::PaintedRows(std::int32_t rows)
    : spans_(std::make_shared<std::vector<ColumnSpan>>(static_cast<std::size_t>(rows))) {}

PaintedRows PaintedRows::everywhere(std::int32_t rows, std::int32_t cols) {
    PaintedRows painted(rows);
    painted.add({0, rows, 0, cols});
    return painted;
}

void PaintedRows::add(const Region& region) {
    for (std::int32_t r = region.rowStart; r < region.rowEnd; ++r) {
        ColumnSpan& span = (*spans_)[static_cast<std::size_t>(r)];
        span = united(span, {region.colStart, region.colEnd});
    }
}

PaintedRows PaintedRows::moved(std::int32_t rows, std::int32_t top, std::int32_t left) const {
    PaintedRows painted(rows);
    std::size_t to = static_cast<std::size_t>(top);
    for (const ColumnSpan& span : *spans_) (*painted.spans_)[to++] = {span.first + left, span.last + left};
    return painted;
}

}  // namespace brantel
