// Reduction of 8-bit frames by an integer factor.
#pragma once

#include <cstdint>

namespace brantel {

/// Reduces source (rows x cols, 1 or 3 channels) into destination, packed at the reduced size.
/// Factor 1 copies. Even factors sample source pixel (r * cols + x) << (factor / 2): exact for 2 and 4; for
/// larger ones the index runs ahead of the picture, deliberately, and samples beyond the source are 0. Odd
/// factors interpolate linearly to rounded sizes.
/// False, with "src is null || scale is 0", for null images or factor 0. Other channel counts write nothing.
bool downscaleImage(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t factor,
                    std::int32_t channels, std::uint8_t* destination);

}  // namespace brantel
