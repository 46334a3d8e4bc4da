// What the library says while something runs.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace brantel::test {

/// Raw bytes written to standard output meanwhile, from any thread, C or C++.
std::string captureOutput(const std::function<void()>& run);

/// The same split into lines, without line ends.
std::vector<std::string> captureLines(const std::function<void()>& run);

/// Lines for the debugger, from any thread of this process: caught where OutputDebugStringA hands them to the
/// system on Windows, through the file named by BRANTEL_DEBUG_OUTPUT elsewhere.
std::vector<std::string> captureDebugLines(const std::function<void()>& run);

}  // namespace brantel::test
