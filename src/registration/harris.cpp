#include "registration/harris.h"

#include <algorithm>

#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int64_t responseRows = 3;  // that maxima are found in

/// Responses and local maxima row by row. What lies outside the border counts as 0.
class ProductScan {
  public:
    ProductScan(const SmoothedProducts& products, SelectionScratch& scratch)
        : products_(products), scratch_(scratch) {
        scratch.response.ensure(responseRows * products.cols);
        std::fill_n(scratch.response.data(), responseRows * products.cols, 0.0F);
        scratch.selection.columns.resize(static_cast<std::size_t>(products.cols));
        scratch.selection.clear();
    }

    /// The sum of all responses.
    float run() {
        const std::int32_t end = products_.rows - harrisBorder;
        float sum = 0;
        for (std::int32_t r = harrisBorder; r < end; ++r) {
            respond(r);
            sum = addResponses(sum, row(r), products_.cols);
            if (r > harrisBorder) findMaxima(r - 1);
        }
        std::fill_n(row(end), products_.cols, 0.0F);  // the border
        findMaxima(end - 1);
        return sum;
    }

  private:
    float* row(std::int64_t r) const { return scratch_.response.data() + r % responseRows * products_.cols; }

    void respond(std::int32_t r) const {
        const std::int64_t at = std::int64_t{r} * products_.cols + harrisBorder;
        simd::cornerKernels().responseRow(products_.xx + at, products_.yy + at, products_.xy + at,
                                          std::int64_t{products_.cols} - 2 * harrisBorder, harrisK,
                                          row(r) + harrisBorder);
    }

    void findMaxima(std::int32_t r) const {
        appendMaxima(row(r - 1), row(r), row(r + 1), r, products_.cols, scratch_.selection);
    }

    const SmoothedProducts& products_;
    SelectionScratch& scratch_;
};

}  // namespace

void appendMaxima(const float* above, const float* at, const float* below, std::int32_t r, std::int32_t cols,
                  CornerSelection& selection) {
    const std::int64_t found = simd::cornerKernels().maximaInRow(
        above, at, below, 0.0F, harrisBorder, cols - harrisBorder, selection.columns.data());
    for (std::int64_t i = 0; i < found; ++i) {
        const std::int32_t x = selection.columns[static_cast<std::size_t>(i)];
        selection.values.push_back(at[x]);
        selection.points.push_back({x, r});
    }
}

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

float addResponses(float sum, const float* response, std::int32_t cols) {
    return simd::cornerKernels().addInOrder(sum, response + harrisBorder,
                                            std::int64_t{cols} - 2 * harrisBorder);
}

void keepBestCorners(const Log& log, CornerSelection& selection, const CornerTuning& tuning,
                     std::vector<CornerPoint>& corners) {
    std::int32_t count = 0;
    goToGetRidOfSomeSPoints(log, selection.values, selection.points, tuning.budget, tuning.cap,
                            tuning.reductionFactor, tuning.densityLevel, &count, selection.thinning);
    selectSpreadCorners(log, selection.values, selection.points, count, tuning.workingScale, spreadFactor,
                        corners, selection.thinning);
}

void selectCorners(const Log& log, const SmoothedProducts& products, const CornerTuning& tuning,
                   SelectionScratch& scratch, std::vector<CornerPoint>& corners) {
    scratch.selection.clear();
    if (products.rows > 2 * harrisBorder && products.cols > 2 * harrisBorder) {
        const float sum = ProductScan(products, scratch).run();
        keepAbove(sum / static_cast<float>(std::int64_t{products.rows} * products.cols), scratch.selection);
    }
    keepBestCorners(log, scratch.selection, tuning, corners);
}

}  // namespace brantel
