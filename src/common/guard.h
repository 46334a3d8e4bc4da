// Where exceptions end: nothing is thrown across a thread's or the library's boundary.
#pragma once

#include <cstdio>
#include <exception>

#include "common/log.h"

namespace brantel {

/// Calls step() and returns its result; an exception is logged as "<what> failed: <reason>" and gives false.
template <class Step>
bool succeeds(const Log& log, const char* what, Step&& step) {
    char line[200];
    try {
        return step();
    } catch (const std::exception& error) {
        std::snprintf(line, sizeof line, "%s failed: %s", what, error.what());
    } catch (...) {
        std::snprintf(line, sizeof line, "%s failed", what);
    }
    log.streamLine(line);
    return false;
}

}  // namespace brantel
