#include "compose/mosaic.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "common/log.h"
#include "registration/downscale.h"

namespace brantel {

namespace {

constexpr float lowestShift = 0.100000024F;  // 1 - 0.9 in single precision, slightly above a tenth
constexpr float highestShift = 0.9F;
constexpr std::int32_t minimumMatches = 11;

std::int32_t wrappedProduct(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

bool refuse(const char* reason) {
    streamLine(reason);
    return false;
}

/// Side of a new canvas in 64 bits, where no frame is too long.
std::int64_t wideCanvasSide(std::int32_t frameSide) {
    constexpr std::int32_t longestSide = std::numeric_limits<std::int32_t>::max() / 2;
    return frameSide > longestSide ? frameSide : newCanvasSide(frameSide);
}

}  // namespace

bool framesAreUsable(const FrameSetup& setup) {
    if (setup.rows < 1 || setup.cols < 1 || (setup.channels != 1 && setup.channels != 3))
        return refuse("initJoint refused: rows and columns must be positive, channels 1 or 3");
    const std::int64_t area = wideCanvasSide(setup.rows) * wideCanvasSide(setup.cols);
    if (area > std::numeric_limits<std::int32_t>::max())
        return refuse("initJoint refused: the canvas of such frames would have more than 2147483647 pixels");
    return true;
}

void fillZeroSamples(std::uint8_t* frame, std::int64_t bytes) {
    for (std::int64_t i = 0; i < bytes; ++i)
        if (frame[i] == 0) frame[i] = 1;
}

void takeFrame(std::uint8_t* to, const std::uint8_t* from, std::int32_t scale, const FrameSize& size) {
    const auto bytes = static_cast<std::size_t>(size.bytes());
    if (scale == 1) {
        std::memcpy(to, from, bytes);
        return;
    }
    std::memset(to, 0, bytes);
    downscaleImage(from, size.rows, size.cols, scale, size.channels, to);
}

bool startMosaic(Mosaic& mosaic, const std::uint8_t* frame, const FrameSize& size) {
    const std::int32_t rows = newCanvasSide(size.rows);
    const std::int32_t cols = newCanvasSide(size.cols);
    PaintedRows painted(rows);
    mosaic.canvas = blackCanvas(rows, cols, size.channels > 1 ? CV_8UC3 : CV_8UC1);
    mosaic.hasTemplate = false;
    mosaic.templateOnCanvas = true;
    const CornerPoint at{cols / 2 - size.cols / 2, rows / 2 - size.rows / 2};
    mosaic.record.frameX = at.x;
    mosaic.record.frameY = at.y;
    mosaic.minimum = at;
    mosaic.maximum = {at.x + size.cols, at.y + size.rows};
    const Region region{at.y, at.y + size.rows, at.x, at.x + size.cols};
    painted.add(region);
    mosaic.painted = painted;
    if (pasteImageRegion(frame, size.cols, region, rows, cols, size.channels, mosaic.canvas.data))
        return true;
    streamLine("willSmallImgToBigImgAssignRowCol failed");
    return false;
}

bool holdsFramesOf(const Mosaic& mosaic, const FrameSize& size) {
    return !mosaic.canvas.empty() && mosaic.canvas.channels() == size.channels;
}

std::int32_t mergeableShift(const StitchFlags& record, std::int32_t rows, std::int32_t cols) {
    const std::int32_t ax = std::abs(record.offset.x);
    const std::int32_t ay = std::abs(record.offset.y);
    const std::int32_t shift = ax > ay ? ax : ay;
    const auto side = static_cast<float>(ax > ay ? cols : rows);
    const auto d = static_cast<float>(shift);
    const bool mergeable =
        d > side * lowestShift && side * highestShift > d && record.matchCount >= minimumMatches;
    return mergeable ? shift : -1;
}

void writeOutputs(const Mosaic& mosaic, const StitchCall& call) {
    if (call.mosaic != nullptr) *call.mosaic = mosaic.canvas;
    if (call.minCorner != nullptr) *call.minCorner = {mosaic.minimum.x, mosaic.minimum.y};
    if (call.maxCorner != nullptr) *call.maxCorner = {mosaic.maximum.x, mosaic.maximum.y};
    if (call.flags != nullptr) *call.flags = mosaic.record;
}

std::int32_t areaResult(const cv::Mat& canvas, std::int32_t limitA, std::int32_t limitB) {
    return wrappedProduct(canvas.cols, canvas.rows) >= wrappedProduct(limitA, limitB) ? 1 : 0;
}

}  // namespace brantel
