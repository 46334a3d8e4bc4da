// Plain twins of registration/harris.h, documented there.
#pragma once

#include <cstdint>
#include <vector>

#include "common/tuning.h"
#include "common/types.h"

namespace brantel::plain {

constexpr std::int32_t harrisBorder = 20;

bool calcResponseValue(const float* a, const float* b, const float* c, float k, std::int32_t rows,
                       std::int32_t cols, float* response, float* mean, float* sum);

bool responseValueMaxSuppression(const float* response, float threshold, std::int32_t rows, std::int32_t cols,
                                 std::vector<float>& values, std::vector<CornerPoint>& points);

void selectCorners(const float* xx, const float* yy, const float* xy, std::int32_t rows, std::int32_t cols,
                   const CornerTuning& tuning, float* response, std::vector<CornerPoint>& corners);

}  // namespace brantel::plain
