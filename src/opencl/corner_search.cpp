#include "opencl/corner_search.h"

#include <cstring>
#include <vector>

#include "gpu/row_range.h"
#include "opencl/run_kernel.h"

namespace brantel {

namespace {

constexpr std::int32_t filterBorder = 2;

}  // namespace

bool CornerSearch::inFrame(cl_mem grey, const ImageDesc& frame) const {
    const cl_mem even = packedEven(grey, frame);
    return even != nullptr && inImage(even);
}

bool CornerSearch::inRowRange(cl_mem grey, const ImageDesc& frame, const ExpectedShift& expected) const {
    RowRange range = rowRangeFor(expected, frame.rows, frame.cols);
    // The kernel writes behind each row; behind the last row of a whole frame the buffer ends.
    if (range.rows == frame.rows && range.cols == frame.cols) --range.rows;
    if (range.rows <= 0 || range.cols <= 0) {
        device.log.streamLine(side.parts.noCornersLine);
        return true;
    }
    const cl_mem cropped = device.buffers[side.parts.rowRangeImage];
    if (!clearRowRangeOnce() ||
        !runStep(device, side.parts.rowRange, {range.rows, range.cols}, grey, frame.rows, frame.cols,
                 range.rows, range.cols, range.rowOffset, range.colOffset, cropped) ||
        !inImage(cropped))
        return false;
    for (CornerPoint& corner : side.features.corners) {
        corner.x += range.shift.x;
        corner.y += range.shift.y;
    }
    return true;
}

/// In an image of rows twice as long as at half size.
bool CornerSearch::inImage(cl_mem grey) const {
    if (!findCorners(grey)) return false;
    if (side.features.corners.empty()) device.log.streamLine(side.parts.noCornersLine);
    return true;
}

/// The down-scaling kernel takes its source's rows for twice as long as its result's. The rows of a frame with
/// an odd number of columns are one longer; they are packed first, or its corners would be found askew. Null
/// when that fails.
cl_mem CornerSearch::packedEven(cl_mem grey, const ImageDesc& frame) const {
    const std::int32_t even = half.cols * tuning.workingScale;
    if (even == frame.cols || even == 0) return grey;
    const cl_mem packed = ensureBuffer(device, side.evenGrey, std::int64_t{frame.rows} * even);
    if (packColumns(device, grey, {frame.rows, frame.cols}, even, packed)) return packed;
    device.log.debugLine("failed clEnqueueCopyBufferRect");
    return nullptr;
}

/// No result may depend on what the device's memory held before the first row range.
bool CornerSearch::clearRowRangeOnce() const {
    if (side.rowRangeCleared) return true;
    const std::vector<std::uint8_t> zeros(device.buffers.capacityOf(side.parts.rowRangeImage));
    side.rowRangeCleared = writeBuffer(device, device.buffers[side.parts.rowRangeImage], zeros.data(),
                                       static_cast<std::int64_t>(zeros.size()));
    if (!side.rowRangeCleared) device.log.debugLine("failed clEnqueueWriteBuffer");
    return side.rowRangeCleared;
}

bool CornerSearch::findCorners(cl_mem grey) const {
    // Suppression needs more than its border on both sides; smaller images have no corners.
    if (half.rows <= 2 * harrisBorder || half.cols <= 2 * harrisBorder) return true;
    if (!computeProducts(grey) || !readProducts()) return false;
    selectCorners(device.log, {side.xx.data(), side.yy.data(), side.xy.data(), half.rows, half.cols}, tuning,
                  side.selection, side.features.corners);
    return true;
}

bool CornerSearch::computeProducts(cl_mem grey) const {
    const SideParts& parts = side.parts;
    const cl_mem reduced = device.buffers[parts.halfImage];
    const cl_mem xx = device.buffers[parts.xx];
    const cl_mem yy = device.buffers[parts.yy];
    const cl_mem xy = device.buffers[parts.xy];
    return runStep(device, parts.downscale, half, grey, half.rows, half.cols, tuning.workingScale, reduced) &&
           runStep(device, parts.gradients, half, reduced, half.rows, half.cols, xx, yy, xy) &&
           smoothProduct(xx) && smoothProduct(yy) && smoothProduct(xy);
}

/// Smooths a gradient product in place with the 5-tap kernel, both ways.
bool CornerSearch::smoothProduct(cl_mem product) const {
    const SideParts& parts = side.parts;
    const Extent padded{half.rows + 2 * filterBorder, half.cols + 2 * filterBorder};
    const cl_mem temp = device.buffers[parts.filterTemp];
    const cl_mem temp2 = device.buffers[parts.filterTemp2];
    return runStep(device, parts.borderRow, {padded.rows, half.cols}, product, half.rows, half.cols,
                   filterBorder, temp, temp2) &&
           runStep(device, parts.borderCol, {padded.rows, filterBorder}, temp, padded.rows, half.cols,
                   filterBorder, temp, temp2) &&
           runStep(device, parts.filterRow, padded, temp2, padded.rows, padded.cols, temp) &&
           runStep(device, parts.filterCol, padded, temp, padded.rows, padded.cols, temp2) &&
           runStep(device, parts.takeOutBound, half, temp2, half.rows, half.cols, filterBorder, product);
}

/// Maps the three products, then unmaps the three. What the processor works on is a copy: the mapped pixels
/// are gone by then.
bool CornerSearch::readProducts() const {
    const std::int64_t pixels = std::int64_t{half.rows} * half.cols;
    const std::int64_t bytes = pixels * static_cast<std::int64_t>(sizeof(float));
    Mapping xx(device, device.buffers[side.parts.xx], bytes);
    Mapping yy(device, device.buffers[side.parts.yy], bytes);
    Mapping xy(device, device.buffers[side.parts.xy], bytes);
    if (xx.pixels() == nullptr || yy.pixels() == nullptr || xy.pixels() == nullptr) return false;
    for (Buffer<float>* image : {&side.xx, &side.yy, &side.xy}) image->ensure(pixels);
    std::memcpy(side.xx.data(), xx.pixels(), static_cast<std::size_t>(bytes));
    std::memcpy(side.yy.data(), yy.pixels(), static_cast<std::size_t>(bytes));
    std::memcpy(side.xy.data(), xy.pixels(), static_cast<std::size_t>(bytes));
    xx.unmap();
    yy.unmap();
    if (!xy.unmap()) device.log.debugLine("errNum failed");  // and on: the copies are complete
    return true;
}

}  // namespace brantel
