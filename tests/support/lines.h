// Short spellings for tests of log lines.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "support/output_capture.h"

namespace brantel::test {

using Lines = std::vector<std::string>;

/// The search-match thread's first line comes whenever that thread gets to start: takes it out. *count tells
/// how often it was there.
inline Lines withoutStartLine(Lines lines, std::ptrdiff_t* count = nullptr) {
    const auto end = std::remove(lines.begin(), lines.end(), "findHarrisCornerCoordianteThreadTwo in");
    if (count != nullptr) *count = lines.end() - end;
    lines.erase(end, lines.end());
    return lines;
}

/// The lines that one call writes, and what it returns.
template <class Result>
struct Said {
    Result result;
    Lines lines;
};

template <class Call>
auto listen(Call&& call) -> Said<decltype(call())> {
    Said<decltype(call())> said{};
    said.lines = captureLines([&] { said.result = call(); });
    return said;
}

}  // namespace brantel::test
