// Corners and descriptors of both frames, and the offset that follows from them. The device makes grey images
// and smoothed gradient products, the processor corners and descriptors.
#include <cstring>

#include "cuda/current_device.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"
#include "gpu/row_range.h"
#include "registration/descriptors.h"
#include "registration/harris.h"

namespace brantel {

namespace {

constexpr std::int32_t filterBorder = 2;

void fetchGrey(const HostImages& host, const std::uint8_t* from, const ImageDesc& frame) {
    toHost(host.grey, from, frame.pixels());
    std::memset(host.grey + frame.pixels(), 0, static_cast<std::size_t>(frame.cols));
}

/// Smooths a gradient product in place. The padding writes both buffers, so that B already holds the mirrored
/// border rows that the vertical filter leaves out.
void smoothProduct(const CudaSide& side, const DeviceBuffer<float>& product, std::int32_t rows,
                   std::int32_t cols) {
    const std::int32_t paddedRows = rows + 2 * filterBorder;
    const std::int32_t paddedCols = cols + 2 * filterBorder;
    float* a = side.paddedA.data();
    float* b = side.paddedB.data();
    launchOver(paddedRows, cols, opencvcopyFilter2DBorderRowFloat, product.data(), rows, cols, filterBorder,
               a, b);
    launchColumnPass(paddedRows, filterBorder, opencvcopyFilter2DBorderColFloat, a, paddedRows, cols,
                     filterBorder, a, b);
    launchOver(paddedRows - 4, paddedCols, opencvFilter2DRowCalcFloatWin5, b, paddedRows, paddedCols, a);
    launchOver(paddedRows, paddedCols - 4, opencvFilter2DColCalcFloatWin5, a, paddedRows, paddedCols, b);
    launchOver(rows, cols, opencvcopyFilter2DTakeOutBoundFloat, b, rows, cols, filterBorder, product.data());
}

/// The down-scaling kernel takes its source's rows for twice as long as its result's. The rows of a frame
/// with an odd number of columns are one longer; they are packed first, or its corners would be found askew.
std::uint8_t* packedEven(const CudaSide& side, std::uint8_t* image, const ImageDesc& frame) {
    if (side.packed.data() == nullptr || frame.cols % 2 == 0) return image;
    const auto cols = static_cast<std::size_t>(frame.cols);
    check(cudaMemcpy2D(side.packed.data(), cols - 1, image, cols, cols - 1,
                       static_cast<std::size_t>(frame.rows), cudaMemcpyDeviceToDevice),
          "copy on the device");
    return side.packed.data();
}

void makeProducts(const CudaSide& side, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                  std::int32_t factor) {
    if (factor != 1) {
        launchOver(rows, cols, opencvInterLineARResizeDownCh1Kernel, image, rows, cols, factor,
                   side.half.data());
        image = side.half.data();
    }
    launchOver(rows - 2, cols - 2, findGradSquareCrossTermsKernel, image, rows, cols, side.xx.data(),
               side.yy.data(), side.xy.data());
    for (const DeviceBuffer<float>* product : {&side.xx, &side.yy, &side.xy})
        smoothProduct(side, *product, rows, cols);
}

void findCorners(const Log& log, CudaSide& side, std::uint8_t* image, const ImageDesc& frame,
                 const CornerTuning& tuning) {
    const std::int32_t rows = frame.rows / tuning.workingScale;
    const std::int32_t cols = frame.cols / tuning.workingScale;
    if (rows <= 2 * harrisBorder || cols <= 2 * harrisBorder) return;
    makeProducts(side, image, rows, cols, tuning.workingScale);
    const std::int64_t pixels = std::int64_t{rows} * cols;
    const HostImages host(side.arena.within(Phase::registration), frame, tuning.workingScale);
    toHost(host.xx, side.xx, pixels);
    toHost(host.yy, side.yy, pixels);
    toHost(host.xy, side.xy, pixels);
    selectCorners(log, {host.xx, host.yy, host.xy, rows, cols}, tuning, side.selection,
                  side.features.corners);
}

}  // namespace

/// Appends the corners of a grey device image of the frame's size. False, with a line, without corners.
bool CudaEngine::detectCorners(CudaSide& side, std::uint8_t* image) const {
    findCorners(log, side, image, frame, tuning);
    if (!side.features.corners.empty()) return true;
    log.streamLine("HarrissCornerSPoint22222222222 size is 0");
    return false;
}

/// The same on the rows that the other frame overlaps under the expected shift. They are cut by a kernel that
/// fills one element per row, and are searched at the frame's size: what is found there says little.
/// Deliberate; nothing may rely on what the cut holds. Always true.
bool CudaEngine::detectCornersInRowRange(CudaSide& side, std::uint8_t* grey) const {
    const RowRange range = rowRangeFor(expected, frame.rows, frame.cols);
    if (range.rows < 1 || range.cols < 1) {
        log.streamLine("HarrissCornerSPoint22222222222 size is 0");  // the frames do not overlap
        return true;
    }
    launchOver(range.rows, range.cols, getRowRangeKernel, grey, frame.rows, frame.cols, range.rows,
               range.cols, range.rowOffset, range.colOffset, side.crop.data());
    detectCorners(side, side.crop.data());
    for (CornerPoint& corner : side.features.corners) {
        corner.x += range.shift.x;
        corner.y += range.shift.y;
    }
    return true;
}

void CudaEngine::describeSide(CudaSide& side) const {
    const HostImages host(side.arena.begin(Phase::registration), frame, tuning.workingScale);
    std::uint8_t* grey = side.frame.data();
    if (frame.channels == 3) {
        grey = side.grey.data();
        launchOver(frame.rows, frame.cols, side.greyKernel, side.frame.data(), frame.rows, frame.cols, grey);
    } else {
        fetchGrey(host, grey, frame);
    }
    if (expected.use) {
        detectCornersInRowRange(side, grey);
    } else {
        detectCorners(side, packedEven(side, grey, frame));
    }
    if (frame.channels == 3) fetchGrey(host, grey, frame);
    describeCorners(log, side.features, host.grey, frame.rows, frame.cols, side.scratch, nullptr);
}

/// On a worker.
void CudaEngine::describePrevious() {
    const OnMosaicDevice device;
    device.require();
    describeTemplate(previousSide.features, [&] { describeSide(previousSide); });
}

bool CudaEngine::imageMosaicFun() {
    auto model = [this] { describePrevious(); };
    auto match = [this] { describeSide(currentSide); };
    FrameFeatures& previous = previousSide.features;
    FrameFeatures& current = currentSide.features;
    const bool found = templateServes()
                           ? registerFrame(Job::of(match), previous, current, mosaic.record)
                           : registerFrames(Job::of(model), Job::of(match), previous, current, mosaic.record);
    if (!found) {
        log.streamLine("imageMosaicFunCuda failed");
        return false;
    }
    log.clLog(" flags.offset.x%dflags.offset.y:::%d\n", mosaic.record.offset.x, mosaic.record.offset.y);
    return true;
}

}  // namespace brantel
