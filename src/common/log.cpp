#include "common/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"

namespace brantel {

namespace {

// The longest line with an appended number; longer texts are cut, which no text of the library is.
constexpr std::size_t lineLength = 256;

void writeOut(const char* text, std::size_t length) {
    std::fwrite(text, 1, length, stdout);
    std::fflush(stdout);
}

}  // namespace

void debugLine(const char* text) {
    platform::debugOutput(text);
}

void streamLine(const char* text) {
    char line[lineLength];
    const int length = std::snprintf(line, sizeof line - 1, "%s", text);
    const std::size_t end = length < 0 ? 0 : std::strlen(line);
    line[end] = '\n';
    writeOut(line, end + 1);
}

void streamLine(const char* text, std::int64_t number) {
    char line[lineLength];
    std::snprintf(line, sizeof line, "%s%lld", text, static_cast<long long>(number));
    streamLine(line);
}

void clLog(const char* format, ...) {
    va_list values;
    va_start(values, format);
    std::vfprintf(stdout, format, values);  // one call locks the stream, however long the text is
    va_end(values);
    std::fflush(stdout);
}

}  // namespace brantel
