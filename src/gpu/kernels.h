// The 41 GPU kernels as CUDA and plain C++ see them. The address of a kernel's host function is its launch
// handle.
#pragma once

#if defined(__CUDACC__)
#define BRANTEL_KERNEL __global__ void
#else
#define BRANTEL_KERNEL void
#endif

#define KERNEL_ENTRY(name, parameters) BRANTEL_KERNEL name parameters;
#include "gpu/kernel_list.inc"
#undef KERNEL_ENTRY
