// The kernel text compiled as plain C++: run by the kernel tests and by the emulated CUDA runtime.
#pragma once

#include <string>
#include <vector>

#include "gpu/launch.h"

namespace gpu_test {

struct Extent {
    unsigned x;
    unsigned y;
};

struct PlainKernel {
    std::string name;
    const void* handle;      // address of the kernel's function
    std::string parameters;  // one letter each: b bytes, f floats, i int
    Callable thread;         // one thread of it
};

/// All 41.
const std::vector<PlainKernel>& plainKernels();

/// Runs every thread of a launch on the calling thread, first to last or last to first.
void runGrid(const PlainKernel& kernel, Extent grid, Extent block, void** values, bool reverse = false);

}  // namespace gpu_test
