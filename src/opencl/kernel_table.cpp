#include "common/log.h"
#include "opencl/joint.h"
#include "opencl/tables.h"

namespace brantel {

namespace {

struct KernelRow {
    const char* name;
    void (*channel)(const char*);
    const char* failLine;
};

constexpr KernelRow rows[] = {
#define BRANTEL_CL_ROW(name, channel, line) {#name, channel, line},
    BRANTEL_CL_KERNELS(BRANTEL_CL_ROW)
#undef BRANTEL_CL_ROW
};

/// The kernel whose handle decides whether creation succeeded. The float mask kernels are tested by their
/// predecessor's handle, deliberately: a program without them is accepted, and blending fails instead.
std::size_t testedInsteadOf(std::size_t i) {
    const auto id = static_cast<ClKernel>(i);
    const bool floatMask =
        id == ClKernel::rgb2GaryFloatTwoCh3Kernel || id == ClKernel::rgb2GaryFloatTwoCh1Kernel;
    return floatMask ? static_cast<std::size_t>(ClKernel::rgb2GaryTwoKernel) : i;
}

}  // namespace

const char* nameOf(ClKernel id) {
    return rows[static_cast<std::size_t>(id)].name;
}

bool createKernel(OpenclJoint& cl) {
    auto& handles = cl.kernels.handles;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        if (handles[i] != nullptr) continue;
        handles[i] = clApi()->clCreateKernel(cl.clProgram, rows[i].name, nullptr);
        if (handles[testedInsteadOf(i)] != nullptr) continue;
        rows[i].channel(rows[i].failLine);
        return false;
    }
    return true;
}

void releaseKernelsCL(OpenclJoint& cl) {
    for (cl_kernel& handle : cl.kernels.handles) {
        if (handle != nullptr) clApi()->clReleaseKernel(handle);
        handle = nullptr;
    }
}

}  // namespace brantel
