// From smoothed gradient products to the corners of one frame: response, suppression, selection.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/tuning.h"
#include "common/types.h"
#include "registration/thinning.h"

namespace brantel {

/// Border without corners on every side.
constexpr std::int32_t harrisBorder = 20;

/// Harris response R = a*b - c*c - (a + b)*k*(a + b), single precision, in this order, inside the border.
/// Only positive values are stored in response and added to *sum, row by row; elsewhere response keeps what
/// it held. *mean becomes *sum / (rows * cols). False, with "calcResponseValue ptr null", for a null image.
bool calcResponseValue(const Log& log, const float* a, const float* b, const float* c, float k,
                       std::int32_t rows, std::int32_t cols, float* response, float* mean, float* sum);

/// Appends every pixel inside the border that equals the maximum of its 3 x 3 neighbourhood and exceeds the
/// threshold, in row-major order. All pixels of a plateau qualify (quirk 26).
/// False, with "responseValueMaxSuppression ptr is null", for a null image.
bool responseValueMaxSuppression(const Log& log, const float* response, float threshold, std::int32_t rows,
                                 std::int32_t cols, std::vector<float>& values,
                                 std::vector<CornerPoint>& points);

/// The local maxima of a frame on their way to becoming corners; keeps its storage between frames.
struct CornerSelection {
    std::vector<float> values;
    std::vector<CornerPoint> points;
    std::vector<std::int32_t> columns;  // scratch of one row
    ThinningScratch thinning;

    void clear() {
        values.clear();
        points.clear();
    }
};

/// Thins and spreads the maxima, which it consumes, and appends what is left in full-frame coordinates.
void keepBestCorners(const Log& log, CornerSelection& selection, const CornerTuning& tuning,
                     std::vector<CornerPoint>& corners);

/// The processor's share of detection for backends that compute the products elsewhere: response into a
/// cleared map, suppression above the mean, thinning and spreading. Appends the corners in full-frame
/// coordinates.
void selectCorners(const Log& log, const float* xx, const float* yy, const float* xy, std::int32_t rows,
                   std::int32_t cols, const CornerTuning& tuning, float* response,
                   std::vector<CornerPoint>& corners);

}  // namespace brantel
