#include "compose/mosaic.h"

namespace brantel {

void fillZeroSamples(std::uint8_t* frame, std::int64_t bytes) {
    for (std::int64_t i = 0; i < bytes; ++i)
        if (frame[i] == 0) frame[i] = 1;
}

bool startMosaic(const Log& log, Mosaic& mosaic, const std::uint8_t* frame, const ImageDesc& size) {
    const std::int32_t rows = newCanvasSide(size.rows);
    const std::int32_t cols = newCanvasSide(size.cols);
    PaintedRows painted(rows);
    mosaic.canvas = blackCanvas(rows, cols, size.channels > 1 ? CV_8UC3 : CV_8UC1);
    mosaic.templateState = TemplateState::first;
    const CornerPoint at{cols / 2 - size.cols / 2, rows / 2 - size.rows / 2};
    mosaic.record.frameX = at.x;
    mosaic.record.frameY = at.y;
    mosaic.minimum = at;
    mosaic.maximum = {at.x + size.cols, at.y + size.rows};
    const Region region{at.y, at.y + size.rows, at.x, at.x + size.cols};
    painted.add(region);
    mosaic.painted = painted;
    if (pasteImageRegion(log, frame, size.cols, region, rows, cols, size.channels, mosaic.canvas.data))
        return true;
    log.streamLine("willSmallImgToBigImgAssignRowCol failed");
    return false;
}

}  // namespace brantel
