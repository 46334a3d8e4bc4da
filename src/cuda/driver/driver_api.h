// The functions of NVIDIA's driver library that the backend calls, found at run time: the library starts on
// machines without a driver. The types are declared here, so that no toolkit is needed to compile this.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define BRANTEL_CUDA_CALL __stdcall
#else
#define BRANTEL_CUDA_CALL
#endif

/// Under the names that the library exports.
#define BRANTEL_CUDA_DRIVER_FUNCTIONS(X)                                                                    \
    X(cuInit, (unsigned flags))                                                                             \
    X(cuDriverGetVersion, (int* version))                                                                   \
    X(cuDeviceGetCount, (int* count))                                                                       \
    X(cuDeviceGet, (Device * device, int number))                                                           \
    X(cuDeviceTotalMem_v2, (std::size_t * bytes, Device device))                                            \
    X(cuDevicePrimaryCtxRetain, (Context * context, Device device))                                         \
    X(cuCtxPushCurrent_v2, (Context context))                                                               \
    X(cuCtxPopCurrent_v2, (Context * context))                                                              \
    X(cuMemAlloc_v2, (Address * at, std::size_t bytes))                                                     \
    X(cuMemFree_v2, (Address at))                                                                           \
    X(cuMemHostAlloc, (void** at, std::size_t bytes, unsigned flags))                                       \
    X(cuMemFreeHost, (void* at))                                                                            \
    X(cuMemcpyHtoD_v2, (Address to, const void* from, std::size_t bytes))                                   \
    X(cuMemcpyDtoH_v2, (void* to, Address from, std::size_t bytes))                                         \
    X(cuMemcpyDtoD_v2, (Address to, Address from, std::size_t bytes))                                       \
    X(cuMemcpy2DUnaligned_v2, (const Copy2D* copy))                                                         \
    X(cuMemsetD8_v2, (Address at, unsigned char value, std::size_t bytes))                                  \
    X(cuModuleLoadData, (Module * module, const void* image))                                               \
    X(cuModuleGetFunction, (Function * function, Module module, const char* name))                          \
    X(cuLaunchKernel,                                                                                       \
      (Function function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX, unsigned blockY, \
       unsigned blockZ, unsigned sharedBytes, Stream stream, void** arguments, void** extra))

namespace brantel::cuda_driver {

using Result = int;  // 0 is success
using Device = int;
using Address = std::uint64_t;
using Context = struct ContextObject*;
using Module = struct ModuleObject*;
using Function = struct FunctionObject*;
using Stream = struct StreamObject*;

constexpr int deviceMemory = 2;  // a memory type

struct Copy2DEnd {
    std::size_t x, y;
    int memoryType;
    void* host;
    Address device;
    void* array;
    std::size_t pitch;
};
struct Copy2D {
    Copy2DEnd from, to;
    std::size_t width, height;
};

struct DriverApi {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name and its parameters
#define BRANTEL_CUDA_POINTER(name, parameters) Result(BRANTEL_CUDA_CALL* name) parameters = nullptr;
    BRANTEL_CUDA_DRIVER_FUNCTIONS(BRANTEL_CUDA_POINTER)
#undef BRANTEL_CUDA_POINTER
};

/// The driver's library, opened on the first call and then kept for good. Null when there is none, or one
/// that lacks a function.
const DriverApi* driverApi();

}  // namespace brantel::cuda_driver
