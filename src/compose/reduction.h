// Bringing frames to working size: reduction by an integer factor.
#pragma once

#include <cstdint>

#include "common/log.h"
#include "common/types.h"

namespace brantel {

/// Reduces source (rows x cols, 1 or 3 channels) into destination, packed at the reduced size.
/// Factor 1 copies. Even factors sample source pixel (r * cols + x) << (factor / 2): exact for 2 and 4; for
/// larger ones the index runs ahead of the picture, deliberately (quirk 30), and samples beyond the source are 0. Odd
/// factors interpolate linearly to rounded sizes.
/// False, with "src is null || scale is 0", for null images or factor 0. Other channel counts write nothing.
bool downscaleImage(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                    std::int32_t factor, std::int32_t channels, std::uint8_t* destination);

/// Brings a host's frame to working size. A reduced frame fills the front, the rest stays black.
void takeFrame(const Log& log, std::uint8_t* to, const std::uint8_t* from, std::int32_t scale,
               const ImageDesc& size);

}  // namespace brantel
