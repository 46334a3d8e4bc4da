// The OpenCL functions that the backend calls, found at run time: the library starts without an OpenCL
// runtime.
#pragma once

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

#define BRANTEL_CL_FUNCTIONS(X)  \
    X(clGetPlatformIDs)          \
    X(clGetPlatformInfo)         \
    X(clGetDeviceIDs)            \
    X(clGetDeviceInfo)           \
    X(clCreateContext)           \
    X(clReleaseContext)          \
    X(clCreateCommandQueue)      \
    X(clReleaseCommandQueue)     \
    X(clCreateProgramWithSource) \
    X(clBuildProgram)            \
    X(clGetProgramBuildInfo)     \
    X(clReleaseProgram)          \
    X(clCreateKernel)            \
    X(clReleaseKernel)           \
    X(clSetKernelArg)            \
    X(clCreateBuffer)            \
    X(clReleaseMemObject)        \
    X(clEnqueueNDRangeKernel)    \
    X(clEnqueueMapBuffer)        \
    X(clEnqueueUnmapMemObject)   \
    X(clEnqueueWriteBuffer)      \
    X(clEnqueueCopyBufferRect)   \
    X(clFinish)

namespace brantel {

struct ClApi {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name
#define BRANTEL_CL_POINTER(name) decltype(&::name) name = nullptr;
    BRANTEL_CL_FUNCTIONS(BRANTEL_CL_POINTER)
#undef BRANTEL_CL_POINTER
};

/// The system's OpenCL loader, opened on the first call and then kept for good: contexts and drivers outlive
/// everything that could close it. Null when there is none, or one that lacks a function.
const ClApi* clApi();

}  // namespace brantel
