// The zero-sum filter's answer to an overlap cut, one whole image after the other.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"

namespace brantel::reference {

/// Every second row and column of a grey image, filtered with the zero-sum 9-tap filter along rows and then along
/// columns, with its edges cleared: (rows / 2) x (cols / 2) bytes. Empty for images too small for the filter.
std::vector<std::uint8_t> zeroSumImage(const Log& log, const std::uint8_t* grey, std::int32_t rows,
                                       std::int32_t cols);

}  // namespace brantel::reference
