// Which frames lie at which columns of a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brantel::render {

/// Columns from first to end (not included).
struct Columns {
    std::int32_t first;
    std::int32_t end;
};

/// Neighbouring columns that the same things cover.
struct Span {
    Columns columns;
    std::vector<std::size_t> covering;  ///< in ascending order; empty in a gap
};

/// All columns from 0 to `width`, from left to right.
/// @param covered  what things 0, 1, ... cover, within 0 to `width` and not empty
std::vector<Span> spansOf(const std::vector<Columns>& covered, std::int32_t width);

}  // namespace brantel::render
