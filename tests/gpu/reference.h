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

/// The smoothed gradient products of an image at half its size, by their definition.
struct Products {
    std::vector<float> xx;
    std::vector<float> yy;
    std::vector<float> xy;
};
Products smoothedProducts(const unsigned char* grey, int rows, int cols);

/// Two images of one size, 1 or 3 channels, fused by the distances of their pixels to the nearest empty one.
Contents fusedByDistances(const Contents& imgA, const Contents& imgB, std::vector<float> distancesA,
                          std::vector<float> distancesB, int channels);

}  // namespace gpu_test
