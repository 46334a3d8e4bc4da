// Device and page-locked memory, and the copies between them. All copies block.
#pragma once

#include <cuda_runtime_api.h>

#include <cstdint>
#include <utility>

#include "cuda/launch.h"

namespace brantel {

struct DeviceMemory {
    static cudaError_t allocate(void** at, std::size_t bytes) { return cudaMalloc(at, bytes); }
    static void release(void* at) { cudaFree(at); }
};

struct PageLockedMemory {
    static cudaError_t allocate(void** at, std::size_t bytes) {
        return cudaHostAlloc(at, bytes, cudaHostAllocDefault);
    }
    static void release(void* at) { cudaFreeHost(at); }
};

/// A block that is allocated once and kept until reset. Failure leaves it empty.
template <class T, class Memory>
class CudaBuffer {
  public:
    CudaBuffer() = default;
    CudaBuffer(const CudaBuffer&) = delete;
    CudaBuffer& operator=(const CudaBuffer&) = delete;
    ~CudaBuffer() { reset(); }

    /// Existing memory is kept, whatever its size; nothing needs none.
    cudaError_t allocateMissing(std::int64_t count) {
        if (data_ != nullptr || count == 0) return cudaSuccess;
        void* at = nullptr;
        const cudaError_t code = Memory::allocate(&at, static_cast<std::size_t>(count) * sizeof(T));
        if (code != cudaSuccess) return code;
        data_ = static_cast<T*>(at);
        size_ = count;
        return cudaSuccess;
    }
    void reset() {
        if (data_ != nullptr) Memory::release(data_);
        data_ = nullptr;
        size_ = 0;
    }
    void swap(CudaBuffer& other) {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
    }
    T* data() const { return data_; }
    std::int64_t size() const { return size_; }

  private:
    T* data_ = nullptr;
    std::int64_t size_ = 0;
};

template <class T>
using DeviceBuffer = CudaBuffer<T, DeviceMemory>;
template <class T>
using PageLockedBuffer = CudaBuffer<T, PageLockedMemory>;

template <class T>
std::size_t bytesOf(std::int64_t count) {
    return static_cast<std::size_t>(count) * sizeof(T);
}

template <class T>
void toDevice(const DeviceBuffer<T>& to, const T* from, std::int64_t count) {
    check(cudaMemcpy(to.data(), from, bytesOf<T>(count), cudaMemcpyHostToDevice), "copy to the device");
}

template <class T>
void toHost(T* to, const T* from, std::int64_t count) {
    check(cudaMemcpy(to, from, bytesOf<T>(count), cudaMemcpyDeviceToHost), "copy to the host");
}
template <class T>
void toHost(T* to, const DeviceBuffer<T>& from, std::int64_t count) {
    toHost<T>(to, from.data(), count);
}

template <class T>
void onDevice(const DeviceBuffer<T>& to, const DeviceBuffer<T>& from, std::int64_t count) {
    check(cudaMemcpy(to.data(), from.data(), bytesOf<T>(count), cudaMemcpyDeviceToDevice),
          "copy on the device");
}

}  // namespace brantel
