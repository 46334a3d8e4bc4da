// Cutting and pasting frame rectangles, and the rectangle that holds all frames. Ranges are half-open.
#pragma once

#include <cstdint>

#include "common/log.h"
#include "common/types.h"

namespace brantel {

/// Rows [rowStart, rowEnd) and columns [colStart, colEnd) of an image.
struct Region {
    std::int32_t rowStart;
    std::int32_t rowEnd;
    std::int32_t colStart;
    std::int32_t colEnd;
};

/// Columns [first, last) of a row; first >= last is none.
struct ColumnSpan {
    std::int32_t first = 0;
    std::int32_t last = 0;

    bool isEmpty() const { return first >= last; }
    std::int64_t length() const { return std::int64_t{last} - first; }
};

/// The shortest span that holds both.
ColumnSpan united(ColumnSpan a, ColumnSpan b);

/// Cuts a region of source (rows x cols, 1 or 3 channels) into out and describes it in desc. Starts are not
/// checked: the caller keeps them at 0 or above. False, with a line on standard output, for null images or a
/// region that ends beyond the source.
bool cropImageRegion(const Log& log, const std::uint8_t* source, const Region& region, std::int32_t rows,
                     std::int32_t cols, std::int32_t channels, ImageDesc* desc, std::uint8_t* out);

/// Overwrites a region of canvas (rows x cols) with source, whose rows are sourceCols pixels long. False as
/// above.
bool pasteImageRegion(const Log& log, const std::uint8_t* source, std::int32_t sourceCols,
                      const Region& region, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                      std::uint8_t* canvas);

/// The parts of canvas and frame that overlap when the frame lies at position + offset.
struct OverlapRegions {
    Region canvas;
    Region frame;
};
OverlapRegions overlapRegions(CornerPoint position, Offset offset, std::int32_t frameRows,
                              std::int32_t frameCols);

/// Cuts both overlapping parts. False, with "ptr is null", for a null image.
bool cropOverlapPair(const Log& log, const std::uint8_t* canvas, const std::uint8_t* frame,
                     const ImageDesc& canvasDesc, const ImageDesc& frameDesc, CornerPoint position,
                     Offset offset, ImageDesc* canvasPart, ImageDesc* framePart, std::uint8_t* canvasOut,
                     std::uint8_t* frameOut);

/// Widens the bounds (maximum exclusive) by a frame at position. One-sided per axis: a frame that sticks out
/// on both sides, or starts exactly at the minimum, changes nothing. Always false, which nobody reads (quirks 29 and 38).
bool extendMosaicBounds(CornerPoint minimum, CornerPoint maximum, std::int32_t frameRows,
                        std::int32_t frameCols, CornerPoint position, CornerPoint* minimumOut,
                        CornerPoint* maximumOut);

}  // namespace brantel
