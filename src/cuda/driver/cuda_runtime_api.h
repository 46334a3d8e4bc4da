// The part of the CUDA runtime's interface that the backend uses. Stands in for the toolkit's header where
// the backend is built over the driver's own library (runtime.cpp), and in tests on machines without the
// toolkit.
#pragma once

#include <cstddef>

// The toolkit's names.
// NOLINTBEGIN(readability-identifier-naming)

struct dim3 {
    unsigned x, y, z;
    explicit dim3(unsigned columns = 1, unsigned rows = 1, unsigned layers = 1)
        : x(columns), y(rows), z(layers) {}
};

/// The driver numbers its errors alike, and has more.
enum cudaError_t : int {
    cudaSuccess = 0,
    cudaErrorInvalidValue = 1,
    cudaErrorMemoryAllocation = 2,
    cudaErrorInvalidConfiguration = 9,
    cudaErrorInsufficientDriver = 35,
    cudaErrorInvalidDeviceFunction = 98,
    cudaErrorNoDevice = 100,
    cudaErrorInvalidDevice = 101,
    cudaErrorLaunchFailure = 719
};

enum cudaMemcpyKind {
    cudaMemcpyHostToHost = 0,
    cudaMemcpyHostToDevice = 1,
    cudaMemcpyDeviceToHost = 2,
    cudaMemcpyDeviceToDevice = 3
};

struct cudaDeviceProp {
    std::size_t totalGlobalMem;
};

struct CUstream_st;
using cudaStream_t = CUstream_st*;

constexpr unsigned cudaHostAllocDefault = 0;

extern "C" {
cudaError_t cudaGetDeviceCount(int* count);
cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device);
cudaError_t cudaGetDevice(int* device);
cudaError_t cudaSetDevice(int device);
cudaError_t cudaMalloc(void** at, std::size_t bytes);
cudaError_t cudaFree(void* at);
cudaError_t cudaHostAlloc(void** at, std::size_t bytes, unsigned flags);
cudaError_t cudaFreeHost(void* at);
cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind);
cudaError_t cudaMemcpy2D(void* to, std::size_t toPitch, const void* from, std::size_t fromPitch,
                         std::size_t width, std::size_t height, cudaMemcpyKind kind);
cudaError_t cudaMemset(void* at, int value, std::size_t bytes);
cudaError_t cudaLaunchKernel(const void* kernel, dim3 grid, dim3 block, void** arguments,
                             std::size_t sharedBytes, cudaStream_t stream);
}

// NOLINTEND(readability-identifier-naming)
