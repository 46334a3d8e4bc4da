// Plain twins of compose/regions.h, documented there.
#pragma once

#include <cstdint>

#include "common/types.h"

namespace brantel::plain {

struct Region {
    std::int32_t rowStart;
    std::int32_t rowEnd;
    std::int32_t colStart;
    std::int32_t colEnd;
};

bool cropImageRegion(const std::uint8_t* source, const Region& region, std::int32_t rows, std::int32_t cols,
                     std::int32_t channels, ImageDesc* record, std::uint8_t* out);

bool pasteImageRegion(const std::uint8_t* source, std::int32_t sourceCols, const Region& region,
                      std::int32_t rows, std::int32_t cols, std::int32_t channels, std::uint8_t* canvas);

struct OverlapRegions {
    Region canvas;
    Region frame;
};
OverlapRegions overlapRegions(CornerPoint position, Offset offset, std::int32_t frameRows,
                              std::int32_t frameCols);

bool cropOverlapPair(const std::uint8_t* canvas, const std::uint8_t* frame, const ImageDesc& canvasRecord,
                     const ImageDesc& frameRecord, CornerPoint position, Offset offset, ImageDesc* canvasPart,
                     ImageDesc* framePart, std::uint8_t* canvasOut, std::uint8_t* frameOut);

bool extendMosaicBounds(CornerPoint minimum, CornerPoint maximum, std::int32_t frameRows,
                        std::int32_t frameCols, CornerPoint position, CornerPoint* minimumOut,
                        CornerPoint* maximumOut);

}  // namespace brantel::plain
