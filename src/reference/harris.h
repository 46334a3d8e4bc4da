// Response, suppression and selection of corners, one whole image after the other.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/tuning.h"
#include "common/types.h"

namespace brantel::reference {

/// Harris response R = a*b - c*c - (a + b)*k*(a + b), single precision, in this order, inside the border.
/// Only positive values are stored in response and added to *sum, row by row; elsewhere response keeps what
/// it held. *mean becomes *sum / (rows * cols). False, with "calcResponseValue ptr null", for a null image.
bool calcResponseValue(const Log& log, const float* a, const float* b, const float* c, float k,
                       std::int32_t rows, std::int32_t cols, float* response, float* mean, float* sum);

/// Appends every pixel inside the border that equals the maximum of its 3 x 3 neighbourhood and exceeds the
/// threshold, in row-major order. All pixels of a plateau qualify.
/// False, with "responseValueMaxSuppression ptr is null", for a null image.
bool responseValueMaxSuppression(const Log& log, const float* response, float threshold, std::int32_t rows,
                                 std::int32_t cols, std::vector<float>& values,
                                 std::vector<CornerPoint>& points);

/// From smoothed products to corners in full-frame coordinates.
std::vector<CornerPoint> selectCorners(const Log& log, const float* xx, const float* yy, const float* xy,
                                       std::int32_t rows, std::int32_t cols, const CornerTuning& tuning);

}  // namespace brantel::reference
