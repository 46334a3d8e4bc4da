// Plain twins of registration/filters.h, documented there.
#pragma once

#include <cstdint>

namespace brantel::plain {

bool padReflect2(const float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB);

bool filterColumn5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols,
                   float* output);

bool filterRow5(const float* input, const float* kernel, std::int32_t rows, std::int32_t cols, float* output);

bool cropPadding2(const float* input, std::int32_t rows, std::int32_t cols, float* output);

void smoothProduct(float* image, std::int32_t rows, std::int32_t cols, float* paddedA, float* paddedB);

}  // namespace brantel::plain
