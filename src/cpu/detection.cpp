#include "cpu/detection.h"

#include <cstring>

#include "common/log.h"
#include "cpu/image_ops.h"
#include "registration/downscale.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int32_t productCount = 3;  // xx, yy, xy
constexpr std::int32_t windowRows = 5;    // of the smoothing filter
constexpr std::int32_t reach = windowRows / 2;

/// The rows of products that the vertical filter still needs, xx, yy and xy of a row one behind the other.
class ProductRing {
  public:
    ProductRing(float* memory, std::int64_t cols) : memory_(memory), cols_(cols) {}

    float* row(std::int64_t r) { return memory_ + r % windowRows * productCount * cols_; }
    float* filtered() { return memory_ + windowRows * productCount * cols_; }

    void compute(const std::uint8_t* grey, std::int64_t r, std::int64_t first, std::int64_t last) {
        const std::uint8_t* at = grey + r * cols_;
        float* xx = row(r);
        simd::cornerKernels().gradientRow(at - cols_, at, at + cols_, first, last, xx, xx + cols_,
                                          xx + 2 * cols_);
    }

  private:
    float* memory_;
    std::int64_t cols_;
};

/// Appends the maxima of a response row, each the largest of its 3 x 3 neighbourhood.
void findMaxima(const float* above, const float* at, const float* below, std::int32_t r, std::int32_t cols,
                CornerSelection& selection) {
    const std::int64_t found = simd::cornerKernels().maximaInRow(
        above, at, below, 0.0F, harrisBorder, cols - harrisBorder, selection.columns.data());
    for (std::int64_t i = 0; i < found; ++i) {
        const std::int32_t x = selection.columns[static_cast<std::size_t>(i)];
        selection.values.push_back(at[x]);
        selection.points.push_back({x, r});
    }
}

/// Drops the maxima that do not exceed the threshold.
void keepAbove(float threshold, CornerSelection& selection) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < selection.values.size(); ++i) {
        if (!(selection.values[i] > threshold)) continue;
        selection.values[kept] = selection.values[i];
        selection.points[kept++] = selection.points[i];
    }
    selection.values.resize(kept);
    selection.points.resize(kept);
}

/// Collects the local maxima of the response above its mean. The mean is known only at the end, so that all
/// maxima are collected first; three rows of the response are alive at a time, and what lies outside the
/// border counts as 0.
void findCorners(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols, HarrisImages& images) {
    ProductRing ring(images.products.data(), cols);
    const std::int64_t first = harrisBorder;
    const std::int64_t last = std::int64_t{cols} - harrisBorder;
    const std::int32_t lastRow = rows - harrisBorder;
    const auto response = [&](std::int64_t r) { return images.response.data() + r % 3 * cols; };
    std::memset(images.response.data(), 0, static_cast<std::size_t>(3 * cols) * sizeof(float));
    images.selection.columns.resize(static_cast<std::size_t>(cols));
    for (std::int64_t r = first - reach; r < first + reach; ++r)
        ring.compute(grey, r, first - reach, last + reach);
    float sum = 0;
    for (std::int32_t r = harrisBorder; r < lastRow; ++r) {
        ring.compute(grey, r + reach, first - reach, last + reach);
        const simd::HarrisRow row{
            {ring.row(r - 2), ring.row(r - 1), ring.row(r), ring.row(r + 1), ring.row(r + 2)},
            cols,
            ring.filtered(),
            responseKernel,
            harrisK,
            response(r),
            response(r - 1)};
        sum = simd::cornerKernels().harrisRow(row, first, last, sum);
        if (r > harrisBorder)
            findMaxima(response(r - 2), response(r - 1), response(r), r - 1, cols, images.selection);
    }
    for (std::int64_t x = first; x < last; ++x) sum += response(lastRow - 1)[x];
    std::memset(response(lastRow), 0, static_cast<std::size_t>(cols) * sizeof(float));
    findMaxima(response(lastRow - 2), response(lastRow - 1), response(lastRow), lastRow - 1, cols,
               images.selection);
    keepAbove(sum / static_cast<float>(std::int64_t{rows} * cols), images.selection);
}

const std::uint8_t* reduceFrame(const std::uint8_t* frame, const ImageDesc& record, std::int32_t scale,
                                std::uint8_t* reduced) {
    if (scale != 2) {
        downscaleImage(frame, record.rows, record.cols, scale, 1, reduced);
        return reduced;
    }
    const std::int64_t cols = record.cols / 2;
    for (std::int64_t r = 0; r < record.rows / 2; ++r)
        simd::kernels().halveRow(frame + 2 * r * record.cols, cols, reduced + r * cols);
    return reduced;
}

}  // namespace

void HarrisImages::ensure(std::int64_t rows, std::int64_t cols) {
    grey.ensure(rows * cols);
    products.ensure(productCount * (windowRows + 1) * cols);
    response.ensure(3 * cols);
}

std::int32_t findHarrisCornerCoordianteFun(const std::uint8_t* frame, const ImageDesc& record,
                                           const CornerTuning& tuning, HarrisImages& images,
                                           std::vector<CornerPoint>& corners) {
    if (frame == nullptr) {
        streamLine("findHarrisCornerCoordianteFun ptr is null");
        return 0;
    }
    const std::int32_t rows = record.rows / tuning.workingScale;
    const std::int32_t cols = record.cols / tuning.workingScale;
    if (rows < 1 || cols < 1) {
        streamLine("ptr is null");  // an empty crop: there are no products to compute
        streamLine("findGradSquareCrossTerms failed");
        return 0;
    }
    images.selection.clear();
    if (rows > 2 * harrisBorder && cols > 2 * harrisBorder) {
        images.ensure(rows, cols);
        const std::uint8_t* grey = reduceFrame(frame, record, tuning.workingScale, images.grey.data());
        findCorners(grey, rows, cols, images);
    }
    keepBestCorners(images.selection, tuning, corners);
    if (!corners.empty()) return 1;
    streamLine("HarrissCornerSPoint size is 0");
    return 0;
}

}  // namespace brantel
