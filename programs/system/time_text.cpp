#include "system/time_text.h"

#include <cstdio>
#include <ctime>

namespace brantel::programs {

std::string timeText(std::int64_t nanoseconds) {
    constexpr std::int64_t second = 1000000000;
    std::int64_t fraction = nanoseconds % second;
    if (fraction < 0) fraction += second;
    const auto whole = static_cast<std::time_t>((nanoseconds - fraction) / second);
    std::tm utc{};
#if defined(_WIN32)
    gmtime_s(&utc, &whole);
#else
    gmtime_r(&whole, &utc);
#endif
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%09lldZ", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                  static_cast<long long>(fraction));
    return text;
}

}  // namespace brantel::programs
