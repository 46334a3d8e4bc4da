// Plain twins of registration/downscale.h, documented there.
#pragma once

#include <cstdint>

namespace brantel::plain {

bool downscaleImage(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t factor,
                    std::int32_t channels, std::uint8_t* destination);

}  // namespace brantel::plain
