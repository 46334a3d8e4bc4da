// The few calls of the CUDA runtime that the backend makes, on top of the driver's own library.
//
// What the process keeps of this until it ends, as the toolkit's runtime would: the driver's library with its
// entry points (driver_api.cpp), the first device's primary context with the kernels' module and functions
// (FirstDevice), and the table of the kernels' names (kernel_names.cpp). Nothing of a mosaic is among it:
// mosaics share the device, not what lies on it.
#include <cuda_runtime_api.h>

#include <array>
#include <mutex>

#include "cuda/driver/driver_api.h"
#include "cuda/driver/fat_binary.h"
#include "cuda/driver/kernel_names.h"

namespace brantel::cuda_driver {

namespace {

/// The first device with the kernels on it. Whoever needs it first starts it; it is kept until the process
/// ends. A step that failed is tried again by the next call.
class FirstDevice {
  public:
    Result context(const DriverApi& driver, Context* context) {
        const std::lock_guard<std::mutex> hold(mutex_);
        Device device = 0;
        Result error = context_ != nullptr ? cudaSuccess : driver.cuDeviceGet(&device, 0);
        if (context_ == nullptr && error == cudaSuccess)
            error = driver.cuDevicePrimaryCtxRetain(&context_, device);
        *context = context_;
        return error;
    }

    /// Only with the context current.
    Result function(const DriverApi& driver, const void* handle, Function* function) {
        const std::lock_guard<std::mutex> hold(mutex_);
        std::size_t i = 0;
        while (i < kernelCount && kernelNames()[i].handle != handle) ++i;
        if (i == kernelCount) return cudaErrorInvalidDeviceFunction;
        Result error = module_ != nullptr ? cudaSuccess : driver.cuModuleLoadData(&module_, fatBinary);
        if (functions_[i] == nullptr && error == cudaSuccess)
            error = driver.cuModuleGetFunction(&functions_[i], module_, kernelNames()[i].text);
        *function = functions_[i];
        return error;
    }

  private:
    std::mutex mutex_;
    Context context_ = nullptr;
    Module module_ = nullptr;
    std::array<Function, kernelCount> functions_{};
};

FirstDevice& firstDevice() {
    static FirstDevice& instance = *new FirstDevice;
    return instance;
}

/// Finds out whether the driver works and is new enough for the kernels.
Result start(const DriverApi& driver) {
    const Result error = driver.cuInit(0);
    if (error != cudaSuccess) return error;
    int version = 0;
    if (driver.cuDriverGetVersion(&version) != cudaSuccess || version < fatBinaryVersion)
        return cudaErrorInsufficientDriver;
    return cudaSuccess;
}

template <class Step>
cudaError_t withDriver(Step step) {
    const DriverApi* driver = driverApi();
    return driver == nullptr ? cudaErrorInsufficientDriver : static_cast<cudaError_t>(step(*driver));
}

/// With the device's context current in the calling thread for the length of the step: a host that uses CUDA
/// itself keeps its own.
template <class Step>
cudaError_t onDevice(Step step) {
    return withDriver([&](const DriverApi& driver) -> Result {
        Context context = nullptr;
        Result error = firstDevice().context(driver, &context);
        if (error == cudaSuccess) error = driver.cuCtxPushCurrent_v2(context);
        if (error != cudaSuccess) return error;
        error = step(driver);
        driver.cuCtxPopCurrent_v2(&context);
        return error;
    });
}

Address addressOf(const void* at) {
    return reinterpret_cast<std::uintptr_t>(at);
}

}  // namespace

}  // namespace brantel::cuda_driver

using namespace brantel::cuda_driver;

extern "C" {

cudaError_t cudaGetDeviceCount(int* count) {
    return withDriver([&](const DriverApi& driver) {
        const Result error = start(driver);
        return error != cudaSuccess ? error : driver.cuDeviceGetCount(count);
    });
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    return withDriver([&](const DriverApi& driver) {
        Device handle = 0;
        const Result error = driver.cuDeviceGet(&handle, device);
        return error != cudaSuccess ? error : driver.cuDeviceTotalMem_v2(&properties->totalGlobalMem, handle);
    });
}

// Every call below makes the first device's context current for its own length: no other is ever used.

cudaError_t cudaGetDevice(int* device) {
    return withDriver([&](const DriverApi&) -> Result {
        *device = 0;
        return cudaSuccess;
    });
}

cudaError_t cudaSetDevice(int device) {
    if (device != 0) return cudaErrorInvalidDevice;
    return onDevice([](const DriverApi&) -> Result { return cudaSuccess; });
}

cudaError_t cudaMalloc(void** at, std::size_t bytes) {
    return onDevice([&](const DriverApi& driver) {
        Address address = 0;
        const Result error = driver.cuMemAlloc_v2(&address, bytes);
        if (error != cudaSuccess) return error;
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        *at = reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
        return error;
    });
}

cudaError_t cudaFree(void* at) {
    return onDevice([&](const DriverApi& driver) { return driver.cuMemFree_v2(addressOf(at)); });
}

cudaError_t cudaHostAlloc(void** at, std::size_t bytes, unsigned flags) {
    return onDevice([&](const DriverApi& driver) { return driver.cuMemHostAlloc(at, bytes, flags); });
}

cudaError_t cudaFreeHost(void* at) {
    return onDevice([&](const DriverApi& driver) { return driver.cuMemFreeHost(at); });
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return onDevice([&](const DriverApi& driver) -> Result {
        switch (kind) {
            case cudaMemcpyHostToDevice:
                return driver.cuMemcpyHtoD_v2(addressOf(to), from, bytes);
            case cudaMemcpyDeviceToHost:
                return driver.cuMemcpyDtoH_v2(to, addressOf(from), bytes);
            case cudaMemcpyDeviceToDevice:
                return driver.cuMemcpyDtoD_v2(addressOf(to), addressOf(from), bytes);
            default:
                return cudaErrorInvalidValue;
        }
    });
}

cudaError_t cudaMemcpy2D(void* to, std::size_t toPitch, const void* from, std::size_t fromPitch,
                         std::size_t width, std::size_t height, cudaMemcpyKind kind) {
    if (kind != cudaMemcpyDeviceToDevice) return cudaErrorInvalidValue;
    return onDevice([&](const DriverApi& driver) {
        const Copy2D copy{{0, 0, deviceMemory, nullptr, addressOf(from), nullptr, fromPitch},
                          {0, 0, deviceMemory, nullptr, addressOf(to), nullptr, toPitch},
                          width,
                          height};
        return driver.cuMemcpy2DUnaligned_v2(&copy);
    });
}

cudaError_t cudaMemset(void* at, int value, std::size_t bytes) {
    return onDevice([&](const DriverApi& driver) {
        return driver.cuMemsetD8_v2(addressOf(at), static_cast<unsigned char>(value), bytes);
    });
}

cudaError_t cudaLaunchKernel(const void* kernel, dim3 grid, dim3 block, void** arguments,
                             std::size_t sharedBytes, cudaStream_t stream) {
    return onDevice([&](const DriverApi& driver) {
        Function function = nullptr;
        const Result error = firstDevice().function(driver, kernel, &function);
        if (error != cudaSuccess) return error;
        return driver.cuLaunchKernel(function, grid.x, grid.y, grid.z, block.x, block.y, block.z,
                                     static_cast<unsigned>(sharedBytes), reinterpret_cast<Stream>(stream),
                                     arguments, nullptr);
    });
}
}
