// Harris corners of a grey image: gradients and smoothing on the device, the rest on the processor.
#include <cstring>

#include "common/log.h"
#include "gpu/strip.h"
#include "opencl/device.h"
#include "opencl/feature_side.h"
#include "registration/harris.h"

namespace brantel {

namespace {

constexpr std::int32_t filterBorder = 2;

/// Smooths a gradient product in place with the 5-tap kernel, both ways.
bool smoothProduct(const OpenclJoint& cl, const SideParts& parts, cl_mem product) {
    const std::int32_t rows = cl.clHalfWidth;
    const std::int32_t cols = cl.clHalfHeight;
    const std::int32_t paddedRows = rows + 2 * filterBorder;
    const std::int32_t paddedCols = cols + 2 * filterBorder;
    const cl_mem temp = cl.buffers[parts.filterTemp];
    const cl_mem temp2 = cl.buffers[parts.filterTemp2];
    return runStep(cl, parts.borderRow, {paddedRows, cols}, product, rows, cols, filterBorder, temp, temp2) &&
           runStep(cl, parts.borderCol, {paddedRows, filterBorder}, temp, paddedRows, cols, filterBorder,
                   temp, temp2) &&
           runStep(cl, parts.filterRow, {paddedRows, paddedCols}, temp2, paddedRows, paddedCols, temp) &&
           runStep(cl, parts.filterCol, {paddedRows, paddedCols}, temp, paddedRows, paddedCols, temp2) &&
           runStep(cl, parts.takeOutBound, {rows, cols}, temp2, rows, cols, filterBorder, product);
}

bool computeProducts(const OpenclJoint& cl, const SideParts& parts, cl_mem grey) {
    const std::int32_t rows = cl.clHalfWidth;
    const std::int32_t cols = cl.clHalfHeight;
    const cl_mem half = cl.buffers[parts.halfImage];
    const cl_mem xx = cl.buffers[parts.xx];
    const cl_mem yy = cl.buffers[parts.yy];
    const cl_mem xy = cl.buffers[parts.xy];
    return runStep(cl, parts.downscale, {rows, cols}, grey, rows, cols, cl.clDownFactor, half) &&
           runStep(cl, parts.gradients, {rows, cols}, half, rows, cols, xx, yy, xy) &&
           smoothProduct(cl, parts, xx) && smoothProduct(cl, parts, yy) && smoothProduct(cl, parts, xy);
}

/// Maps the three products, then unmaps the three. What the processor works on is a copy: the mapped pixels
/// are gone by then.
bool readProducts(const OpenclJoint& cl, ClFeatureSide& side) {
    const std::int64_t pixels = std::int64_t{cl.clHalfWidth} * cl.clHalfHeight;
    const std::int64_t bytes = pixels * static_cast<std::int64_t>(sizeof(float));
    Mapping xx(cl, cl.buffers[side.parts->xx], bytes);
    Mapping yy(cl, cl.buffers[side.parts->yy], bytes);
    Mapping xy(cl, cl.buffers[side.parts->xy], bytes);
    if (xx.pixels() == nullptr || yy.pixels() == nullptr || xy.pixels() == nullptr) return false;
    for (Buffer<float>* image : {&side.xx, &side.yy, &side.xy, &side.response}) image->ensure(pixels);
    std::memcpy(side.xx.data(), xx.pixels(), static_cast<std::size_t>(bytes));
    std::memcpy(side.yy.data(), yy.pixels(), static_cast<std::size_t>(bytes));
    std::memcpy(side.xy.data(), xy.pixels(), static_cast<std::size_t>(bytes));
    xx.unmap();
    yy.unmap();
    if (!xy.unmap()) debugLine("errNum failed");  // and on: the copies are complete
    return true;
}

bool findCorners(OpenclJoint& cl, ClFeatureSide& side, cl_mem grey) {
    // Suppression needs more than its border on both sides; smaller images have no corners.
    if (cl.clHalfWidth <= 2 * harrisBorder || cl.clHalfHeight <= 2 * harrisBorder) return true;
    if (!computeProducts(cl, *side.parts, grey) || !readProducts(cl, side)) return false;
    const CornerTuning tuning{cl.clCornerParam, cl.clMaxCornerNum, cl.clMaxCandidateNum, cl.clScale,
                              cl.clDownFactor};
    selectCorners(side.xx.data(), side.yy.data(), side.xy.data(), cl.clHalfWidth, cl.clHalfHeight, tuning,
                  side.response.data(), side.features.corners);
    return true;
}

}  // namespace

bool cornerStage(OpenclJoint& cl, ClFeatureSide& side, cl_mem grey) {
    if (!findCorners(cl, side, grey)) return false;
    if (side.features.corners.empty()) streamLine(side.parts->noCornersLine);
    return true;
}

bool rowRangeStage(OpenclJoint& cl, ClFeatureSide& side, cl_mem grey, const ImageDesc& record) {
    Strip strip = overlapStrip(cl.clRowRangeArgA, cl.clRowRangeArgB, record.rows, record.cols);
    // The kernel writes behind each row; behind the last row of a whole frame the buffer ends.
    if (strip.rows == record.rows && strip.cols == record.cols) --strip.rows;
    if (strip.rows <= 0 || strip.cols <= 0) {
        streamLine(side.parts->noCornersLine);
        return true;
    }
    const cl_mem cropped = cl.buffers[side.parts->rowRangeImage];
    if (!runStep(cl, side.parts->rowRange, {strip.rows, strip.cols}, grey, record.rows, record.cols,
                 strip.rows, strip.cols, strip.rowOffset, strip.colOffset, cropped))
        return false;
    if (!cornerStage(cl, side, cropped)) return false;
    for (CornerPoint& corner : side.features.corners) {
        corner.x += strip.shift.x;
        corner.y += strip.shift.y;
    }
    return true;
}

}  // namespace brantel
