// Plain twins of compose/weights.h, documented there.
#pragma once

#include <cstdint>

namespace brantel::plain {

bool occupancyMask(const std::uint8_t* image, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                   float* mask);

bool clearMaskEdge(float* mask, std::int32_t rows, std::int32_t cols);

void chamferDistance(float* mask, std::int32_t rows, std::int32_t cols);

void weightsFromDistances(const float* a, const float* b, std::int64_t pixels, std::uint8_t* weights);

bool weightMask(const std::uint8_t* cut, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                std::int32_t channels, float* maskA, float* maskB, std::uint8_t* weights);

void fuseImages(const std::uint8_t* cut, const std::uint8_t* weights, std::int64_t pixels,
                std::int32_t channels, std::uint8_t* frame);

}  // namespace brantel::plain
