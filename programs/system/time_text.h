// Times as people and programs read them.
#pragma once

#include <cstdint>
#include <string>

namespace brantel::programs {

/// "2024-11-21T17:16:00.123456789Z" for nanoseconds since 1970.
std::string timeText(std::int64_t nanoseconds);

}  // namespace brantel::programs
