#include "cuda/feature_side.h"

#include <cstring>

#include "common/log.h"
#include "cuda/launch.h"
#include "gpu/kernels.h"
#include "gpu/strip.h"
#include "registration/harris.h"
#include "registration/register_frames.h"

namespace brantel {

namespace {

constexpr std::int32_t filterBorder = 2;

void fetchGrey(CudaSide& side, const std::uint8_t* from, const ImageDesc& record) {
    side.hostGrey.ensure(record.pixels() + record.cols);
    toHost(side.hostGrey.data(), from, record.pixels());
    std::memset(side.hostGrey.data() + record.pixels(), 0, static_cast<std::size_t>(record.cols));
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
std::uint8_t* packedEven(const CudaSide& side, std::uint8_t* image, const ImageDesc& record) {
    const auto even = static_cast<std::size_t>(record.cols / 2) * 2;
    const auto cols = static_cast<std::size_t>(record.cols);
    if (even == cols) return image;
    check(cudaMemcpy2D(side.strip.data(), even, image, cols, even, static_cast<std::size_t>(record.rows),
                       cudaMemcpyDeviceToDevice),
          "copy on the device");
    return side.strip.data();
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

void findCorners(CudaSide& side, std::uint8_t* image, const CudaJob& job) {
    const std::int32_t rows = job.record.rows / job.tuning.workingScale;
    const std::int32_t cols = job.record.cols / job.tuning.workingScale;
    if (rows <= 2 * harrisBorder || cols <= 2 * harrisBorder) return;
    makeProducts(side, image, rows, cols, job.tuning.workingScale);
    const std::int64_t pixels = std::int64_t{rows} * cols;
    for (Buffer<float>* map : {&side.hostYy, &side.hostXy, &side.response}) map->ensure(pixels);
    toHost(side.hostMap.data(), side.xx, pixels);
    toHost(side.hostYy.data(), side.yy, pixels);
    toHost(side.hostXy.data(), side.xy, pixels);
    selectCorners(side.hostMap.data(), side.hostYy.data(), side.hostXy.data(), rows, cols, job.tuning,
                  side.response.data(), side.features.corners);
}

}  // namespace

void CudaSide::freeHostArrays() {
    for (Buffer<float>* map : {&hostYy, &hostXy, &response}) map->reset();
    hostGrey.reset();
    std::vector<std::uint16_t>().swap(scratch);  // "= {}" would keep the memory
    features = {};
}

bool detectCorners(CudaSide& side, std::uint8_t* image, const CudaJob& job) {
    findCorners(side, image, job);
    if (!side.features.corners.empty()) return true;
    streamLine("HarrissCornerSPoint22222222222 size is 0");
    return false;
}

bool detectCornersInStrip(CudaSide& side, std::uint8_t* grey, const CudaJob& job) {
    const std::int32_t rows = job.record.rows;
    const std::int32_t cols = job.record.cols;
    const Strip strip = overlapStrip(job.expected.x, job.expected.y, rows, cols);
    if (strip.rows < 1 || strip.cols < 1) {
        streamLine("HarrissCornerSPoint22222222222 size is 0");  // the frames do not overlap
        return true;
    }
    launchOver(strip.rows, strip.cols, getRowRangeKernel, grey, rows, cols, strip.rows, strip.cols,
               strip.rowOffset, strip.colOffset, side.strip.data());
    detectCorners(side, side.strip.data(), job);
    for (CornerPoint& corner : side.features.corners) {
        corner.x += strip.shift.x;
        corner.y += strip.shift.y;
    }
    return true;
}

void runFeatureJob(CudaSide& side, const CudaJob& job) {
    const ImageDesc& record = job.record;
    std::uint8_t* grey = side.frame.data();
    if (record.channels == 3) {
        grey = side.grey.data();
        launchOver(record.rows, record.cols, side.greyKernel, side.frame.data(), record.rows, record.cols,
                   grey);
    } else {
        fetchGrey(side, grey, record);
    }
    if (job.expected.use) {
        detectCornersInStrip(side, grey, job);
    } else {
        detectCorners(side, packedEven(side, grey, record), job);
    }
    if (record.channels == 3) fetchGrey(side, grey, record);
    describeCorners(side.features, side.hostGrey.data(), record.rows, record.cols, side.scratch);
}

}  // namespace brantel
