// What each kernel has to compute, written a second time as plain loops, and launches to hold kernels
// against.
#pragma once

#include <string>
#include <vector>

#include "gpu/launch.h"

namespace gpu_test {

/// Empty when the buffers after a launch are what the reference computes, bit for bit; else where they are
/// not.
std::string mismatch(const Launch& launch, const std::vector<Contents>& after);

/// Names under which OpenCL has a CUDA kernel; empty for the six it leaves out.
std::vector<std::string> openclNames(const std::string& cudaName);

}  // namespace gpu_test
