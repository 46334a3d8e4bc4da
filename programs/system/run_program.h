// What every program's main() does.
#pragma once

#include <cstdio>
#include <exception>
#include <opencv2/core/utils/logger.hpp>

#include "system/files.h"
#include "system/out_of_memory.h"
#include "system/platform.h"

namespace brantel::programs {

/// Calls body(argc, argv) with the command line as UTF-8 and returns its exit code. What it throws becomes a
/// line on standard error and an exit code: 2 for an unusable input, else 1.
template <class Body>
int runProgram(const char* name, int argc, char** argv, Body&& body) noexcept {
    try {
        fillStandardStreams();
        cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);  // errors are told here
        Arguments arguments(argc, argv);
        return body(arguments.count(), arguments.values());
    } catch (const InputError& error) {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name, isOutOfMemory(error) ? "out of memory" : error.what());
        return 1;
    }
}

}  // namespace brantel::programs
