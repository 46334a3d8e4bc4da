// An OpenCL.dll with one NVIDIA GPU on which everything succeeds and nothing is computed: enough for the
// check of a start.
#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

#include <cstring>

namespace {

int object;  // whatever a handle points to

template <class Handle>
Handle handle(cl_int* status) {
    if (status != nullptr) *status = CL_SUCCESS;
    return reinterpret_cast<Handle>(&object);
}

cl_int answer(const void* value, size_t bytes, size_t room, void* to, size_t* size) {
    if (to != nullptr) std::memcpy(to, value, bytes < room ? bytes : room);
    if (size != nullptr) *size = bytes;
    return CL_SUCCESS;
}

template <class Handle>
cl_int listOne(cl_uint room, Handle* to, cl_uint* count) {
    if (to != nullptr && room > 0) to[0] = handle<Handle>(nullptr);
    if (count != nullptr) *count = 1;
    return CL_SUCCESS;
}

constexpr size_t mappable = size_t{1} << 20U;
unsigned char memory[mappable];

}  // namespace

extern "C" {

cl_int clGetPlatformIDs(cl_uint room, cl_platform_id* to, cl_uint* count) {
    return listOne(room, to, count);
}
cl_int clGetPlatformInfo(cl_platform_id, cl_platform_info, size_t room, void* to, size_t* size) {
    return answer("NVIDIA stand-in", 16, room, to, size);
}
cl_int clGetDeviceIDs(cl_platform_id, cl_device_type, cl_uint room, cl_device_id* to, cl_uint* count) {
    return listOne(room, to, count);
}
cl_int clGetDeviceInfo(cl_device_id, cl_device_info what, size_t room, void* to, size_t* size) {
    if (what == CL_DEVICE_NAME) return answer("stand-in", 9, room, to, size);
    const cl_ulong value = what == CL_DEVICE_GLOBAL_MEM_SIZE ? cl_ulong{8} << 30U : 64;
    return answer(&value, sizeof value, room, to, size);
}
cl_context clCreateContext(const cl_context_properties*, cl_uint, const cl_device_id*,
                           void(CL_CALLBACK*)(const char*, const void*, size_t, void*), void*,
                           cl_int* status) {
    return handle<cl_context>(status);
}
cl_command_queue clCreateCommandQueue(cl_context, cl_device_id, cl_command_queue_properties, cl_int* status) {
    return handle<cl_command_queue>(status);
}
cl_program clCreateProgramWithSource(cl_context, cl_uint, const char**, const size_t*, cl_int* status) {
    return handle<cl_program>(status);
}
cl_int clBuildProgram(cl_program, cl_uint, const cl_device_id*, const char*,
                      void(CL_CALLBACK*)(cl_program, void*), void*) {
    return CL_SUCCESS;
}
cl_int clGetProgramBuildInfo(cl_program, cl_device_id, cl_program_build_info, size_t room, void* to,
                             size_t* size) {
    return answer("", 1, room, to, size);
}
cl_kernel clCreateKernel(cl_program, const char*, cl_int* status) {
    return handle<cl_kernel>(status);
}
cl_int clSetKernelArg(cl_kernel, cl_uint, size_t, const void*) {
    return CL_SUCCESS;
}
cl_mem clCreateBuffer(cl_context, cl_mem_flags, size_t, void*, cl_int* status) {
    return handle<cl_mem>(status);
}
cl_int clEnqueueNDRangeKernel(cl_command_queue, cl_kernel, cl_uint, const size_t*, const size_t*,
                              const size_t*, cl_uint, const cl_event*, cl_event*) {
    return CL_SUCCESS;
}
void* clEnqueueMapBuffer(cl_command_queue, cl_mem, cl_bool, cl_map_flags, size_t, size_t bytes, cl_uint,
                         const cl_event*, cl_event*, cl_int* status) {
    if (status != nullptr) *status = bytes <= mappable ? CL_SUCCESS : CL_MAP_FAILURE;
    return bytes <= mappable ? memory : nullptr;
}
cl_int clEnqueueUnmapMemObject(cl_command_queue, cl_mem, void*, cl_uint, const cl_event*, cl_event*) {
    return CL_SUCCESS;
}
cl_int clEnqueueWriteBuffer(cl_command_queue, cl_mem, cl_bool, size_t, size_t, const void*, cl_uint,
                            const cl_event*, cl_event*) {
    return CL_SUCCESS;
}
cl_int clEnqueueCopyBufferRect(cl_command_queue, cl_mem, cl_mem, const size_t*, const size_t*, const size_t*,
                               size_t, size_t, size_t, size_t, cl_uint, const cl_event*, cl_event*) {
    return CL_SUCCESS;
}
cl_int clFinish(cl_command_queue) {
    return CL_SUCCESS;
}
cl_int clReleaseContext(cl_context) {
    return CL_SUCCESS;
}
cl_int clReleaseCommandQueue(cl_command_queue) {
    return CL_SUCCESS;
}
cl_int clReleaseProgram(cl_program) {
    return CL_SUCCESS;
}
cl_int clReleaseKernel(cl_kernel) {
    return CL_SUCCESS;
}
cl_int clReleaseMemObject(cl_mem) {
    return CL_SUCCESS;
}
}
