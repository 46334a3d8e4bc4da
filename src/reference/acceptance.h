// The brightness measures, sample by sample.
#pragma once

#include <cstdint>

namespace brantel::reference {

/// Mean of every second row and column inside a margin of 2 pixels; NaN without a sample.
float meanGrey(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols);

/// Mean of the samples greater than 10; NaN without one.
float meanOfBright(const std::uint8_t* grey, std::int64_t pixels);

}  // namespace brantel::reference
