// Launch handles and names of the kernels.
#pragma once

#include <array>
#include <cstddef>

namespace brantel::cuda_driver {

// NOLINTNEXTLINE(bugprone-macro-parentheses): a term of a sum
#define KERNEL_ENTRY(name, parameters) +1
constexpr std::size_t kernelCount = 0
#include "gpu/kernel_list.inc"
    ;
#undef KERNEL_ENTRY

struct KernelName {
    const void* handle;
    char text[80];  // as nvcc mangles it, whatever compiler builds the host code
};

const std::array<KernelName, kernelCount>& kernelNames();

}  // namespace brantel::cuda_driver
