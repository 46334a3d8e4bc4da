// The three logging channels.
#pragma once

#include <cstdint>

namespace brantel {

/// One line for the debugger, without line end.
void debugLine(const char* text);

/// One line on standard output: the text, then line end and flush. Written in one piece, so that lines of two
/// threads never tear each other.
void streamLine(const char* text);

/// The same with a number right behind the text.
void streamLine(const char* text, std::int64_t number);

/// Formats like printf onto standard output, as the text stands (no line end is added).
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void clLog(const char* format, ...);

}  // namespace brantel
