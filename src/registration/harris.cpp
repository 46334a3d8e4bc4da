#include "registration/harris.h"

#include <algorithm>
#include <cstring>

namespace brantel {

namespace {

float maximumAround(const float* centre, std::int64_t cols) {
    float maximum = centre[0];
    for (std::int64_t row = -1; row <= 1; ++row)
        for (std::int64_t x = -1; x <= 1; ++x) maximum = std::max(maximum, centre[row * cols + x]);
    return maximum;
}

}  // namespace

bool calcResponseValue(const Log& log, const float* a, const float* b, const float* c, float k,
                       std::int32_t rows, std::int32_t cols, float* response, float* mean, float* sum) {
    if (a == nullptr || b == nullptr || c == nullptr || response == nullptr) {
        log.streamLine("calcResponseValue ptr null");
        return false;
    }
    for (std::int64_t r = harrisBorder; r < std::int64_t{rows} - harrisBorder; ++r)
        for (std::int64_t x = harrisBorder; x < std::int64_t{cols} - harrisBorder; ++x) {
            const std::int64_t i = r * cols + x;
            const float trace = a[i] + b[i];
            const float value = a[i] * b[i] - c[i] * c[i] - trace * k * trace;
            if (value > 0) {
                response[i] = value;
                *sum += value;
            }
        }
    *mean = *sum / static_cast<float>(std::int64_t{rows} * cols);
    return true;
}

bool responseValueMaxSuppression(const Log& log, const float* response, float threshold, std::int32_t rows,
                                 std::int32_t cols, std::vector<float>& values,
                                 std::vector<CornerPoint>& points) {
    if (response == nullptr) {
        log.streamLine("responseValueMaxSuppression ptr is null");
        return false;
    }
    for (std::int32_t r = harrisBorder; r < rows - harrisBorder; ++r)
        for (std::int32_t x = harrisBorder; x < cols - harrisBorder; ++x) {
            const float* centre = response + std::int64_t{r} * cols + x;
            const float maximum = maximumAround(centre, cols);
            if (maximum > threshold && maximum == *centre) {
                values.push_back(*centre);
                points.push_back({x, r});
            }
        }
    return true;
}

void keepBestCorners(const Log& log, CornerSelection& selection, const CornerTuning& tuning,
                     std::vector<CornerPoint>& corners) {
    std::int32_t count = 0;
    goToGetRidOfSomeSPoints(log, selection.values, selection.points, tuning.budget, tuning.cap,
                            tuning.reductionFactor, tuning.densityLevel, &count, selection.thinning);
    selectSpreadCorners(log, selection.values, selection.points, count, tuning.workingScale, spreadFactor,
                        corners, selection.thinning);
}

void selectCorners(const Log& log, const float* xx, const float* yy, const float* xy, std::int32_t rows,
                   std::int32_t cols, const CornerTuning& tuning, float* response,
                   std::vector<CornerPoint>& corners) {
    const std::int64_t pixels = std::int64_t{rows} * cols;
    std::memset(response, 0, static_cast<std::size_t>(pixels) * sizeof(float));
    float sum = 0;
    float mean = 0;
    calcResponseValue(log, xx, yy, xy, harrisK, rows, cols, response, &mean, &sum);

    CornerSelection selection;
    responseValueMaxSuppression(log, response, mean, rows, cols, selection.values, selection.points);
    keepBestCorners(log, selection, tuning, corners);
}

}  // namespace brantel
