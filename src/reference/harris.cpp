#include "reference/harris.h"

#include <algorithm>

#include "reference/thinning.h"
#include "registration/harris.h"

namespace brantel::reference {

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

std::vector<CornerPoint> selectCorners(const Log& log, const float* xx, const float* yy, const float* xy,
                                       std::int32_t rows, std::int32_t cols, const CornerTuning& tuning) {
    std::vector<float> response(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    float mean = 0;
    float sum = 0;
    calcResponseValue(log, xx, yy, xy, harrisK, rows, cols, response.data(), &mean, &sum);
    std::vector<float> values;
    std::vector<CornerPoint> points;
    responseValueMaxSuppression(log, response.data(), mean, rows, cols, values, points);
    std::int32_t count = 0;
    goToGetRidOfSomeSPoints(log, values, points, tuning.budget, tuning.cap, tuning.reductionFactor,
                            tuning.densityLevel, &count);
    std::vector<CornerPoint> corners;
    selectSpreadCorners(log, values, points, count, tuning.workingScale, spreadFactor, corners);
    return corners;
}

}  // namespace brantel::reference
