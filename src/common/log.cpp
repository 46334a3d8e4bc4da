#include "common/log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

namespace brantel {

namespace {

// The longest line, its end included; longer texts are cut, which no text of the library is. On the stack, so
// that a line about missing memory needs none.
constexpr std::size_t lineLength = 256;

}  // namespace

void Log::streamLine(const char* text) const {
    std::array<char, lineLength> line;
    const std::size_t length = strnlen(text, lineLength - 1);
    std::memcpy(line.data(), text, length);
    line[length] = '\n';
    sink_->write(line.data(), length + 1);
}

void Log::streamLine(const char* text, std::int64_t number) const {
    std::array<char, lineLength> line;
    std::snprintf(line.data(), line.size(), "%s%lld", text, static_cast<long long>(number));
    streamLine(line.data());
}

void Log::clLog(const char* format, ...) const {
    va_list values;
    va_start(values, format);
    va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, values);
    va_end(values);
    if (length > 0) {
        std::vector<char> text(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        sink_->write(text.data(), static_cast<std::size_t>(length));
    }
    va_end(again);
}

}  // namespace brantel
