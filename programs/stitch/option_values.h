// The values of options that are more than one word or number.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "frames/source.h"
#include "stitch/expectation.h"

namespace brantel::programs {

/// Each gives nothing for a text that is not understood.

/// "640x480x3".
std::optional<RawFormat> parseRaw(const std::string& text);

/// "2", "2,3" or "2,3,10".
std::optional<PageChoice> parsePages(const std::string& text);

/// "20000,20000", both positive and with a product that the library's area limit can hold.
std::optional<std::pair<std::int32_t, std::int32_t>> parseLimit(const std::string& text);

/// "-120,4".
std::optional<Shift> parseShift(const std::string& text);

}  // namespace brantel::programs
