// What a canvas may hold, row by row, so that nobody has to look where nothing was ever painted.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compose/regions.h"

namespace brantel {

/// The columns of each canvas row in which it may hold anything but black. Copies share what they know: it
/// only ever becomes more, and to expect something where nothing is does no harm. Nothing known means nothing
/// painted.
class PaintedRows {
  public:
    PaintedRows() = default;
    /// For a black canvas of so many rows.
    explicit PaintedRows(std::int32_t rows);
    /// For a canvas that may be painted anywhere.
    static PaintedRows everywhere(std::int32_t rows, std::int32_t cols);

    void add(const Region& region);
    /// For row and all rows below it.
    const ColumnSpan* from(std::int32_t row) const { return spans_->data() + row; }
    /// The same for a canvas of so many rows that has this one's first pixel at (left, top).
    PaintedRows moved(std::int32_t rows, std::int32_t top, std::int32_t left) const;

  private:
    std::shared_ptr<std::vector<ColumnSpan>> spans_;
};

}  // namespace brantel
