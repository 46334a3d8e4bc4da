#include "compose/regions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace brantel {

namespace {

// The separator is the GB2312 ideographic comma.
constexpr const char* overSizeLine =
    "ptr is null or endBigRow\xA1\xA2"
    "endBigCol overSize";

bool refuses(const Log& log, const void* a, const void* b, const Region& region, std::int32_t rows,
             std::int32_t cols) {
    if (a != nullptr && b != nullptr && region.rowEnd <= rows && region.colEnd <= cols) return false;
    log.streamLine(overSizeLine);
    return true;
}

bool nothingToCopy(const Region& region, std::int32_t channels) {
    return (channels != 1 && channels != 3) || region.rowStart >= region.rowEnd ||
           region.colStart >= region.colEnd;
}

}  // namespace

ColumnSpan united(ColumnSpan a, ColumnSpan b) {
    if (a.isEmpty()) return b;
    if (b.isEmpty()) return a;
    return {std::min(a.first, b.first), std::max(a.last, b.last)};
}

bool cropImageRegion(const Log& log, const std::uint8_t* source, const Region& region, std::int32_t rows,
                     std::int32_t cols, std::int32_t channels, ImageDesc* desc, std::uint8_t* out) {
    if (refuses(log, source, out, region, rows, cols)) return false;
    desc->channels = channels;
    desc->rows = region.rowEnd - region.rowStart;
    desc->cols = region.colEnd - region.colStart;
    if (nothingToCopy(region, channels)) return true;
    const std::int64_t line = std::int64_t{desc->cols} * channels;
    for (std::int64_t r = region.rowStart; r < region.rowEnd; ++r, out += line)
        std::memcpy(out, source + (r * cols + region.colStart) * channels, static_cast<std::size_t>(line));
    return true;
}

bool pasteImageRegion(const Log& log, const std::uint8_t* source, std::int32_t sourceCols,
                      const Region& region, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                      std::uint8_t* canvas) {
    if (refuses(log, source, canvas, region, rows, cols)) return false;
    if (nothingToCopy(region, channels)) return true;
    const std::int64_t line = std::int64_t{region.colEnd - region.colStart} * channels;
    for (std::int64_t r = region.rowStart; r < region.rowEnd;
         ++r, source += std::int64_t{sourceCols} * channels)
        std::memcpy(canvas + (r * cols + region.colStart) * channels, source, static_cast<std::size_t>(line));
    return true;
}

OverlapRegions overlapRegions(CornerPoint position, Offset offset, std::int32_t frameRows,
                              std::int32_t frameCols) {
    const std::int32_t rows = frameRows - std::abs(offset.y);
    const std::int32_t cols = frameCols - std::abs(offset.x);
    const std::int32_t canvasRow = position.y + (offset.y < 0 ? 0 : offset.y);
    const std::int32_t canvasCol = position.x + (offset.x < 0 ? 0 : offset.x);
    const std::int32_t frameRow = offset.y < 0 ? -offset.y : 0;
    const std::int32_t frameCol = offset.x < 0 ? -offset.x : 0;
    return {{canvasRow, canvasRow + rows, canvasCol, canvasCol + cols},
            {frameRow, frameRow + rows, frameCol, frameCol + cols}};
}

bool cropOverlapPair(const Log& log, const std::uint8_t* canvas, const std::uint8_t* frame,
                     const ImageDesc& canvasDesc, const ImageDesc& frameDesc, CornerPoint position,
                     Offset offset, ImageDesc* canvasPart, ImageDesc* framePart, std::uint8_t* canvasOut,
                     std::uint8_t* frameOut) {
    if (canvas == nullptr || frame == nullptr || canvasOut == nullptr || frameOut == nullptr) {
        log.streamLine("ptr is null");
        return false;
    }
    canvasPart->channels = canvasDesc.channels;
    framePart->channels = frameDesc.channels;
    const OverlapRegions parts = overlapRegions(position, offset, frameDesc.rows, frameDesc.cols);
    cropImageRegion(log, canvas, parts.canvas, canvasDesc.rows, canvasDesc.cols, canvasDesc.channels,
                    canvasPart, canvasOut);
    cropImageRegion(log, frame, parts.frame, frameDesc.rows, frameDesc.cols, frameDesc.channels, framePart,
                    frameOut);
    return true;
}

bool extendMosaicBounds(CornerPoint minimum, CornerPoint maximum, std::int32_t frameRows,
                        std::int32_t frameCols, CornerPoint position, CornerPoint* minimumOut,
                        CornerPoint* maximumOut) {
    const std::int32_t right = position.x + frameCols;
    const std::int32_t bottom = position.y + frameRows;
    if (position.x < minimum.x && right < maximum.x) {
        minimum.x = position.x;
    } else if (position.x > minimum.x && right > maximum.x) {
        maximum.x = right;
    }
    if (position.y < minimum.y && bottom < maximum.y) {
        minimum.y = position.y;
    } else if (position.y > minimum.y && bottom > maximum.y) {
        maximum.y = bottom;
    }
    *minimumOut = minimum;
    *maximumOut = maximum;
    return false;
}

}  // namespace brantel
