// What a canvas may hold, row by row, so that nobody has to look where nothing was ever painted.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compose/regions.h"

namespace brantel {

/// The columns of each canvas row in which it may hold anything but black. Kept for all rows of the memory that the
/// canvas is a view into, so that a canvas which grows within its memory keeps its list, too. Copies share what they
/// know: it only ever becomes more, and to expect something where nothing is does no harm. Nothing known means nothing
/// painted.
class PaintedRows {
  public:
    PaintedRows() = default;
    /// For a black canvas whose first pixel is (left, top) of a memory with so many rows.
    explicit PaintedRows(std::int32_t rows, std::int32_t top = 0, std::int32_t left = 0);

    /// A region of the canvas.
    void add(const Region& region);
    /// For row and all rows below it. Columns count from the canvas's column -left().
    const ColumnSpan* from(std::int32_t row) const { return spans_->data() + top_ + row; }
    std::int32_t left() const { return left_; }

    /// The same knowledge for a canvas that grew within its memory, by so many rows and columns before its first ones.
    PaintedRows grown(std::int32_t rowsBefore, std::int32_t columnsBefore) const;
    /// Takes over what another canvas of so many rows may hold, which was copied to (row, column) of this one.
    void take(const PaintedRows& other, std::int32_t rows, std::int32_t row, std::int32_t column);

  private:
    std::shared_ptr<std::vector<ColumnSpan>> spans_;
    std::int32_t top_ = 0;
    std::int32_t left_ = 0;
};

}  // namespace brantel
