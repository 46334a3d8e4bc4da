#include "cuda_driver/fake_driver.h"

#include <cuda_runtime_api.h>
#include <cxxabi.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "cuda/emulated_cuda.h"
#include "gpu/plain_kernels.h"

namespace fake_driver {

namespace {

using namespace brantel::cuda_driver;
using emulated_cuda::addViolation;
using gpu_test::PlainKernel;

// The driver's numbers for what the runtime does not know.
constexpr Result notInitialised = 3;
constexpr Result invalidDevice = 101;
constexpr Result invalidImage = 200;
constexpr Result invalidContext = 201;
constexpr Result invalidHandle = 400;
constexpr Result notFound = 500;

std::mutex mutex;
Faults currentFaults;
std::atomic<bool> initialised{false};
std::atomic<int> retained{0};
std::atomic<int> loaded{0};

int contextObject;
int moduleObject;
Context theContext() {
    return reinterpret_cast<Context>(&contextObject);
}

constexpr int deepest = 8;
thread_local Context stack[deepest];
thread_local int depth = 0;

Faults faults() {
    const std::lock_guard<std::mutex> hold(mutex);
    return currentFaults;
}

Result started(const char* user) {
    if (initialised) return cudaSuccess;
    addViolation(std::string(user) + " before cuInit");
    return notInitialised;
}

Result current(const char* user) {
    if (depth > 0 && stack[depth - 1] == theContext()) return cudaSuccess;
    addViolation(std::string(user) + " without the context");
    return invalidContext;
}

template <class Step>
Result withContext(const char* user, Step step) {
    const Result error = current(user);
    return error != cudaSuccess ? error : static_cast<Result>(step());
}

void* pointer(Address at) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(at));
}

bool isFatBinary(const void* image) {
    constexpr std::uint32_t magic = 0xBA55ED50;
    return reinterpret_cast<std::uintptr_t>(image) % 8 == 0 && std::memcmp(image, &magic, sizeof magic) == 0;
}

/// "name(type, ...)", as a demangler writes it.
std::string signatureOf(const PlainKernel& kernel) {
    std::string parameters;
    for (const char letter : kernel.parameters) {
        parameters += parameters.empty() ? "" : ", ";
        parameters += letter == 'b' ? "unsigned char*" : letter == 'f' ? "float*" : "int";
    }
    return kernel.name + "(" + parameters + ")";
}

const PlainKernel* kernelNamed(const char* mangled) {
    int status = 0;
    char* text = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    const std::string signature = text != nullptr ? text : "";
    std::free(text);
    for (const PlainKernel& kernel : gpu_test::plainKernels())
        if (signatureOf(kernel) == signature) return &kernel;
    return nullptr;
}

const PlainKernel* kernelOf(Function function) {
    for (const PlainKernel& kernel : gpu_test::plainKernels())
        if (reinterpret_cast<Function>(const_cast<PlainKernel*>(&kernel)) == function) return &kernel;
    return nullptr;
}

}  // namespace

void setFaults(const Faults& faults) {
    const std::lock_guard<std::mutex> hold(mutex);
    currentFaults = faults;
}

int contextsRetained() {
    return retained;
}
int modulesLoaded() {
    return loaded;
}
int contextDepth() {
    return depth;
}

}  // namespace fake_driver

namespace brantel::cuda_driver {

using namespace fake_driver;

Result cuInit(unsigned /*flags*/) {
    const Result error = faults().initError;
    if (error == cudaSuccess) initialised = true;
    return error;
}

Result cuDriverGetVersion(int* version) {
    *version = faults().version;
    return cudaSuccess;
}

Result cuDeviceGetCount(int* count) {
    const Result error = started("cuDeviceGetCount");
    return error != cudaSuccess ? error : cudaGetDeviceCount(count);
}

Result cuDeviceGet(Device* device, int number) {
    const Result error = started("cuDeviceGet");
    if (error != cudaSuccess) return error;
    int count = 0;
    if (cudaGetDeviceCount(&count) != cudaSuccess || number < 0 || number >= count) return invalidDevice;
    *device = number;
    return cudaSuccess;
}

Result cuDeviceTotalMem_v2(std::size_t* bytes, Device device) {
    cudaDeviceProp properties{};
    const Result error = cudaGetDeviceProperties(&properties, device);
    *bytes = properties.totalGlobalMem;
    return error;
}

Result cuDevicePrimaryCtxRetain(Context* context, Device device) {
    const Result error = faults().contextError;
    if (error != cudaSuccess) return error;
    if (device != 0) addViolation("a context on another device than the first");
    ++retained;
    *context = theContext();
    return cudaSuccess;
}

Result cuCtxPushCurrent_v2(Context context) {
    if (context == nullptr || depth == deepest) {
        addViolation("wrong cuCtxPushCurrent");
        return invalidContext;
    }
    stack[depth++] = context;
    return cudaSuccess;
}

Result cuCtxPopCurrent_v2(Context* context) {
    if (depth == 0) {
        addViolation("wrong cuCtxPopCurrent");
        return invalidContext;
    }
    *context = stack[--depth];
    return cudaSuccess;
}

Result cuMemAlloc_v2(Address* at, std::size_t bytes) {
    return withContext("cuMemAlloc", [&] {
        void* memory = nullptr;
        const Result error = cudaMalloc(&memory, bytes);
        if (error == cudaSuccess) *at = reinterpret_cast<std::uintptr_t>(memory);
        return error;
    });
}

Result cuMemFree_v2(Address at) {
    return withContext("cuMemFree", [&] { return cudaFree(pointer(at)); });
}

Result cuMemHostAlloc(void** at, std::size_t bytes, unsigned flags) {
    return withContext("cuMemHostAlloc", [&] { return cudaHostAlloc(at, bytes, flags); });
}

Result cuMemFreeHost(void* at) {
    return withContext("cuMemFreeHost", [&] { return cudaFreeHost(at); });
}

Result cuMemcpyHtoD_v2(Address to, const void* from, std::size_t bytes) {
    return withContext("cuMemcpyHtoD",
                       [&] { return cudaMemcpy(pointer(to), from, bytes, cudaMemcpyHostToDevice); });
}

Result cuMemcpyDtoH_v2(void* to, Address from, std::size_t bytes) {
    return withContext("cuMemcpyDtoH",
                       [&] { return cudaMemcpy(to, pointer(from), bytes, cudaMemcpyDeviceToHost); });
}

Result cuMemcpyDtoD_v2(Address to, Address from, std::size_t bytes) {
    return withContext("cuMemcpyDtoD", [&] {
        return cudaMemcpy(pointer(to), pointer(from), bytes, cudaMemcpyDeviceToDevice);
    });
}

Result cuMemcpy2DUnaligned_v2(const Copy2D* copy) {
    return withContext("cuMemcpy2DUnaligned", [&] {
        for (const Copy2DEnd& end : {copy->from, copy->to})
            if (end.x != 0 || end.y != 0 || end.memoryType != deviceMemory || end.pitch < copy->width)
                return cudaErrorInvalidValue;
        return cudaMemcpy2D(pointer(copy->to.device), copy->to.pitch, pointer(copy->from.device),
                            copy->from.pitch, copy->width, copy->height, cudaMemcpyDeviceToDevice);
    });
}

Result cuMemsetD8_v2(Address at, unsigned char value, std::size_t bytes) {
    return withContext("cuMemsetD8", [&] { return cudaMemset(pointer(at), value, bytes); });
}

Result cuModuleLoadData(Module* module, const void* image) {
    return withContext("cuModuleLoadData", [&]() -> Result {
        if (!isFatBinary(image)) addViolation("cuModuleLoadData: no fat binary");
        if (!isFatBinary(image)) return invalidImage;
        if (faults().loadError != cudaSuccess) return faults().loadError;
        ++loaded;
        *module = reinterpret_cast<Module>(&moduleObject);
        return cudaSuccess;
    });
}

Result cuModuleGetFunction(Function* function, Module module, const char* name) {
    return withContext("cuModuleGetFunction", [&]() -> Result {
        if (module != reinterpret_cast<Module>(&moduleObject)) return invalidHandle;
        const PlainKernel* kernel = kernelNamed(name);
        if (kernel == nullptr) addViolation(std::string("no kernel ") + name);
        if (kernel == nullptr || faults().missingKernel == kernel->name) return notFound;
        *function = reinterpret_cast<Function>(const_cast<PlainKernel*>(kernel));
        return cudaSuccess;
    });
}

Result cuLaunchKernel(Function function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX,
                      unsigned blockY, unsigned blockZ, unsigned sharedBytes, Stream stream, void** arguments,
                      void** extra) {
    return withContext("cuLaunchKernel", [&]() -> Result {
        const PlainKernel* kernel = kernelOf(function);
        if (kernel == nullptr || extra != nullptr || sharedBytes != 0 || stream != nullptr) {
            addViolation("wrong cuLaunchKernel");
            return invalidHandle;
        }
        return cudaLaunchKernel(kernel->handle, dim3(gridX, gridY, gridZ), dim3(blockX, blockY, blockZ),
                                arguments, 0, nullptr);
    });
}

}  // namespace brantel::cuda_driver
