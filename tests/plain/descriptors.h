// Plain twins of registration/descriptors.h, documented there.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"

namespace brantel::plain {

bool buildCornerDescriptors(const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out);

std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy);

std::int32_t gradientBin(std::int32_t gx, std::int32_t gy);

}  // namespace brantel::plain
