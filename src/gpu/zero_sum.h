// The zero-sum filter's answer to an overlap cut.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/log.h"

namespace brantel {

/// Takes every second row and column of a grey image, filters that with the zero-sum 9-tap filter along rows
/// and then along columns, and clears its edges. out holds (rows / 2) x (cols / 2) bytes; images too small
/// for the filter leave it alone.
void zeroSumImage(const Log& log, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                  Buffer<std::uint8_t>& out);

}  // namespace brantel
