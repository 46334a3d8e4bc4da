// An OpenCL layer (OPENCL_LAYERS) that shows the real device as the first GPU of invented platforms, lets
// chosen calls fail and writes down what was asked for. It reads its settings at every call:
//   FAKE_CL_PLATFORMS  "name=MiB;name=MiB", in list order; "-" for MiB: a platform without a GPU
//   FAKE_CL_FAIL       "function;function:detail", what fails; details as in the trace
//   FAKE_CL_TRACE      a file that a line is appended to for each call: "function detail"
//   FAKE_CL_IN_TURN    set: one queue command at a time, each finished at once, for drivers that cannot do
//   more
#include <CL/cl_layer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace {

struct Platform {
    std::string name;
    std::string mebibytes;
};

const cl_icd_dispatch* next;  // the loader's own entries
cl_icd_dispatch mine;
std::mutex lock;
std::vector<std::unique_ptr<Platform>> platforms;        // handles stay valid
Platform* owner;                                         // the one whose GPU the real device stands for
std::map<cl_kernel, std::map<cl_uint, cl_int>> numbers;  // the 32-bit arguments that kernels have

std::string setting(const char* name, const char* standard) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : standard;
}

std::vector<std::string> split(const std::string& list) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(';', at), list.size());
        parts.push_back(list.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

/// Writes the call down; true when it is to fail.
bool fails(const std::string& function, const std::string& detail = "") {
    const std::string path = setting("FAKE_CL_TRACE", "");
    if (!path.empty()) {
        const std::lock_guard<std::mutex> hold(lock);
        if (FILE* file = std::fopen(path.c_str(), "a")) {
            std::fprintf(file, "%s%s%s\n", function.c_str(), detail.empty() ? "" : " ", detail.c_str());
            std::fclose(file);
        }
    }
    for (const std::string& wanted : split(setting("FAKE_CL_FAIL", "")))
        if (wanted == function || wanted == function + ":" + detail) return true;
    return false;
}

cl_int answer(const void* value, std::size_t have, std::size_t room, void* out, std::size_t* size) {
    if (size != nullptr) *size = have;
    if (out != nullptr && room < have) return CL_INVALID_VALUE;
    if (out != nullptr) std::memcpy(out, value, have);
    return CL_SUCCESS;
}

/// Held while a driver that needs it works on a queue.
std::unique_lock<std::mutex> inTurn() {
    static std::mutex turn;
    return std::getenv("FAKE_CL_IN_TURN") != nullptr ? std::unique_lock<std::mutex>(turn)
                                                     : std::unique_lock<std::mutex>();
}

template <class T>
T refused(cl_int* status, cl_int code) {
    if (status != nullptr) *status = code;
    return nullptr;
}

cl_int CL_API_CALL getPlatformIDs(cl_uint room, cl_platform_id* out, cl_uint* count) {
    const std::vector<std::string> wanted = split(setting("FAKE_CL_PLATFORMS", ""));
    if (count != nullptr) *count = static_cast<cl_uint>(wanted.size());
    if (wanted.empty() || fails("clGetPlatformIDs")) return -1001;
    const std::lock_guard<std::mutex> hold(lock);
    for (std::size_t i = 0; out != nullptr && i < wanted.size() && i < room; ++i) {
        const std::size_t equals = wanted[i].rfind('=');
        platforms.push_back(
            std::make_unique<Platform>(Platform{wanted[i].substr(0, equals), wanted[i].substr(equals + 1)}));
        out[i] = reinterpret_cast<cl_platform_id>(platforms.back().get());
    }
    return CL_SUCCESS;
}

cl_int CL_API_CALL getPlatformInfo(cl_platform_id platform, cl_platform_info what, std::size_t room,
                                   void* out, std::size_t* size) {
    const std::string text =
        what == CL_PLATFORM_NAME ? reinterpret_cast<Platform*>(platform)->name : "OpenCL 1.2";
    if (fails("clGetPlatformInfo")) return CL_OUT_OF_HOST_MEMORY;
    return answer(text.c_str(), text.size() + 1, room, out, size);
}

/// The first device there is, of whatever kind.
cl_device_id realDevice() {
    cl_platform_id platform = nullptr;
    cl_device_id device = nullptr;
    if (next->clGetPlatformIDs(1, &platform, nullptr) != CL_SUCCESS ||
        next->clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr) != CL_SUCCESS)
        return nullptr;
    return device;
}

cl_int CL_API_CALL getDeviceIDs(cl_platform_id handle, cl_device_type type, cl_uint room, cl_device_id* out,
                                cl_uint* count) {
    auto* platform = reinterpret_cast<Platform*>(handle);
    if (fails("clGetDeviceIDs", platform->name)) return CL_OUT_OF_HOST_MEMORY;
    const bool gpu = (type & CL_DEVICE_TYPE_GPU) != 0 && platform->mebibytes != "-";
    const cl_device_id device = gpu ? realDevice() : nullptr;
    if (count != nullptr) *count = device != nullptr ? 1 : 0;
    if (device == nullptr) return CL_DEVICE_NOT_FOUND;
    if (out != nullptr && room < 1) return CL_INVALID_VALUE;
    if (out != nullptr) {
        out[0] = device;
        owner = platform;
    }
    return CL_SUCCESS;
}

cl_int CL_API_CALL getDeviceInfo(cl_device_id device, cl_device_info what, std::size_t room, void* out,
                                 std::size_t* size) {
    char query[16];
    std::snprintf(query, sizeof query, "0x%x", static_cast<unsigned>(what));
    if (fails("clGetDeviceInfo", query)) return CL_OUT_OF_HOST_MEMORY;
    if (owner != nullptr && what == CL_DEVICE_GLOBAL_MEM_SIZE) {
        const cl_ulong bytes = std::strtoull(owner->mebibytes.c_str(), nullptr, 10) << 20U;
        return answer(&bytes, sizeof bytes, room, out, size);
    }
    return next->clGetDeviceInfo(device, what, room, out, size);
}

cl_context CL_API_CALL createContext(const cl_context_properties* properties, cl_uint count,
                                     const cl_device_id* devices,
                                     void(CL_CALLBACK* notify)(const char*, const void*, std::size_t, void*),
                                     void* user, cl_int* status) {
    if (fails("clCreateContext", owner != nullptr ? owner->name : ""))
        return refused<cl_context>(status, CL_OUT_OF_HOST_MEMORY);
    return next->clCreateContext(properties, count, devices, notify, user, status);
}

cl_command_queue CL_API_CALL createQueue(cl_context context, cl_device_id device,
                                         cl_command_queue_properties properties, cl_int* status) {
    if (fails("clCreateCommandQueue", std::to_string(properties)))
        return refused<cl_command_queue>(status, CL_OUT_OF_HOST_MEMORY);
    return next->clCreateCommandQueue(context, device, properties, status);
}

cl_mem CL_API_CALL createBuffer(cl_context context, cl_mem_flags flags, std::size_t bytes, void* host,
                                cl_int* status) {
    const char* kind = (flags & CL_MEM_USE_HOST_PTR) != 0 ? "clCreateBuffer(host)" : "clCreateBuffer";
    if (fails(kind, std::to_string(bytes))) return refused<cl_mem>(status, CL_MEM_OBJECT_ALLOCATION_FAILURE);
    return next->clCreateBuffer(context, flags, bytes, host, status);
}

cl_kernel CL_API_CALL createKernel(cl_program program, const char* name, cl_int* status) {
    if (fails("clCreateKernel", name)) return refused<cl_kernel>(status, CL_OUT_OF_HOST_MEMORY);
    return next->clCreateKernel(program, name, status);
}

std::string nameOf(cl_kernel kernel) {
    char name[128] = "?";
    next->clGetKernelInfo(kernel, CL_KERNEL_FUNCTION_NAME, sizeof name, name, nullptr);
    return name;
}

/// The kernel's name and the numbers among its arguments, in their order.
std::string numbersOf(cl_kernel kernel) {
    std::string text = nameOf(kernel);
    const std::lock_guard<std::mutex> hold(lock);
    for (const auto& number : numbers[kernel]) text += " " + std::to_string(number.second);
    return text;
}

cl_int CL_API_CALL setKernelArg(cl_kernel kernel, cl_uint index, std::size_t bytes, const void* value) {
    if (kernel == nullptr) return CL_INVALID_KERNEL;
    cl_mem buffer = nullptr;
    if (bytes == sizeof buffer) std::memcpy(&buffer, value, sizeof buffer);
    if (bytes == sizeof buffer && buffer == nullptr) fails("NULL ARGUMENT", nameOf(kernel));
    if (bytes == sizeof(cl_int)) {
        const std::lock_guard<std::mutex> hold(lock);
        std::memcpy(&numbers[kernel][index], value, sizeof(cl_int));
    }
    return next->clSetKernelArg(kernel, index, bytes, value);
}

cl_int CL_API_CALL enqueueKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dimensions,
                                 const std::size_t* offset, const std::size_t* global,
                                 const std::size_t* local, cl_uint count, const cl_event* wait,
                                 cl_event* event) {
    if (kernel == nullptr) {
        fails("NULL KERNEL");
        return CL_INVALID_KERNEL;  // as drivers answer; PoCL 3.1 crashes
    }
    const std::string name = nameOf(kernel);
    std::string range = name;
    for (cl_uint i = 0; i < dimensions; ++i) {
        if (global[i] == 0 || global[i] > 0x7fffffff) return CL_INVALID_GLOBAL_WORK_SIZE;
        range += " " + std::to_string(global[i]);
        if (local != nullptr) range += "/" + std::to_string(local[i]);
    }
    fails("range", range);
    fails("numbers", numbersOf(kernel));
    if (fails("clEnqueueNDRangeKernel", name)) return CL_OUT_OF_RESOURCES;
    const auto hold = inTurn();
    const cl_int status =
        next->clEnqueueNDRangeKernel(queue, kernel, dimensions, offset, global, local, count, wait, event);
    if (hold) next->clFinish(queue);
    return status;
}

void* CL_API_CALL mapBuffer(cl_command_queue queue, cl_mem buffer, cl_bool blocking, cl_map_flags flags,
                            std::size_t offset, std::size_t bytes, cl_uint count, const cl_event* wait,
                            cl_event* event, cl_int* status) {
    if (fails("clEnqueueMapBuffer", std::to_string(bytes))) return refused<void*>(status, CL_MAP_FAILURE);
    const auto hold = inTurn();
    return next->clEnqueueMapBuffer(queue, buffer, blocking, flags, offset, bytes, count, wait, event,
                                    status);
}

cl_int CL_API_CALL unmap(cl_command_queue queue, cl_mem buffer, void* pixels, cl_uint count,
                         const cl_event* wait, cl_event* event) {
    const auto hold = inTurn();
    const cl_int status = next->clEnqueueUnmapMemObject(queue, buffer, pixels, count, wait, event);
    if (hold) next->clFinish(queue);
    return fails("clEnqueueUnmapMemObject") ? CL_OUT_OF_RESOURCES : status;
}

cl_int CL_API_CALL writeBuffer(cl_command_queue queue, cl_mem buffer, cl_bool blocking, std::size_t offset,
                               std::size_t bytes, const void* from, cl_uint count, const cl_event* wait,
                               cl_event* event) {
    if (fails("clEnqueueWriteBuffer", std::to_string(bytes))) return CL_OUT_OF_RESOURCES;
    const auto hold = inTurn();
    return next->clEnqueueWriteBuffer(queue, buffer, blocking, offset, bytes, from, count, wait, event);
}

cl_int CL_API_CALL copyBufferRect(cl_command_queue queue, cl_mem from, cl_mem to,
                                  const std::size_t* fromOrigin, const std::size_t* toOrigin,
                                  const std::size_t* region, std::size_t fromRow, std::size_t fromSlice,
                                  std::size_t toRow, std::size_t toSlice, cl_uint count, const cl_event* wait,
                                  cl_event* event) {
    if (fails("clEnqueueCopyBufferRect", std::to_string(region[0]) + " " + std::to_string(region[1])))
        return CL_OUT_OF_RESOURCES;
    const auto hold = inTurn();
    const cl_int status =
        next->clEnqueueCopyBufferRect(queue, from, to, fromOrigin, toOrigin, region, fromRow, fromSlice,
                                      toRow, toSlice, count, wait, event);
    if (hold) next->clFinish(queue);
    return status;
}

cl_int CL_API_CALL buildProgram(cl_program program, cl_uint count, const cl_device_id* devices,
                                const char* options, void(CL_CALLBACK* notify)(cl_program, void*),
                                void* user) {
    if (fails("clBuildProgram")) return CL_OUT_OF_RESOURCES;
    return next->clBuildProgram(program, count, devices, options, notify, user);
}

cl_int CL_API_CALL finish(cl_command_queue queue) {
    const auto hold = inTurn();
    return next->clFinish(queue);
}

// Writes the release down before it happens.
#define RELEASE(function, type)                         \
    cl_int CL_API_CALL traced_##function(type object) { \
        fails(#function);                               \
        return next->function(object);                  \
    }
RELEASE(clReleaseMemObject, cl_mem)
RELEASE(clReleaseKernel, cl_kernel)
RELEASE(clReleaseProgram, cl_program)
RELEASE(clReleaseCommandQueue, cl_command_queue)
RELEASE(clReleaseContext, cl_context)

}  // namespace

extern "C" {

CL_API_ENTRY cl_int CL_API_CALL clGetLayerInfo(cl_layer_info what, std::size_t room, void* out,
                                               std::size_t* size) {
    const cl_layer_api_version version = CL_LAYER_API_VERSION_100;
    if (what == CL_LAYER_API_VERSION) return answer(&version, sizeof version, room, out, size);
    return answer("fake GPU", 9, room, out, size);
}

CL_API_ENTRY cl_int CL_API_CALL clInitLayer(cl_uint /*entries*/, const cl_icd_dispatch* target,
                                            cl_uint* count, const cl_icd_dispatch** table) {
    next = target;
    mine = *target;
    mine.clGetPlatformIDs = getPlatformIDs;
    mine.clGetPlatformInfo = getPlatformInfo;
    mine.clGetDeviceIDs = getDeviceIDs;
    mine.clGetDeviceInfo = getDeviceInfo;
    mine.clCreateContext = createContext;
    mine.clCreateCommandQueue = createQueue;
    mine.clCreateBuffer = createBuffer;
    mine.clCreateKernel = createKernel;
    mine.clSetKernelArg = setKernelArg;
    mine.clEnqueueNDRangeKernel = enqueueKernel;
    mine.clEnqueueMapBuffer = mapBuffer;
    mine.clEnqueueUnmapMemObject = unmap;
    mine.clEnqueueWriteBuffer = writeBuffer;
    mine.clEnqueueCopyBufferRect = copyBufferRect;
    mine.clBuildProgram = buildProgram;
    mine.clFinish = finish;
    mine.clReleaseMemObject = traced_clReleaseMemObject;
    mine.clReleaseKernel = traced_clReleaseKernel;
    mine.clReleaseProgram = traced_clReleaseProgram;
    mine.clReleaseCommandQueue = traced_clReleaseCommandQueue;
    mine.clReleaseContext = traced_clReleaseContext;
    *table = &mine;
    *count = static_cast<cl_uint>(sizeof mine / sizeof(void*));
    return CL_SUCCESS;
}
}
