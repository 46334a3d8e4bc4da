#include "opencl/device.h"

namespace brantel {

namespace {

enum class Channel { debugLine, streamLine };

struct KernelRow {
    const char* name;
    Channel channel;
    const char* failLine;
};

constexpr KernelRow rows[] = {
#define BRANTEL_CL_ROW(name, channel, line) {#name, Channel::channel, line},
    BRANTEL_CL_KERNELS(BRANTEL_CL_ROW)
#undef BRANTEL_CL_ROW
};

/// The kernel whose handle decides whether creation succeeded. The float mask kernels are tested by their
/// predecessor's handle, deliberately (quirk 60): a program without them is accepted, and blending fails instead.
std::size_t testedInsteadOf(std::size_t i) {
    const auto id = static_cast<ClKernel>(i);
    const bool floatMask =
        id == ClKernel::rgb2GaryFloatTwoCh3Kernel || id == ClKernel::rgb2GaryFloatTwoCh1Kernel;
    return floatMask ? static_cast<std::size_t>(ClKernel::rgb2GaryTwoKernel) : i;
}

void reportLacking(const Log& log, const KernelRow& row) {
    if (row.channel == Channel::debugLine) {
        log.debugLine(row.failLine);
    } else {
        log.streamLine(row.failLine);
    }
}

}  // namespace

const char* nameOf(ClKernel id) {
    return rows[static_cast<std::size_t>(id)].name;
}

bool createKernel(ClDevice& device) {
    auto& handles = device.kernels.handles;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        if (handles[i] != nullptr) continue;
        handles[i] = clApi()->clCreateKernel(device.clProgram, rows[i].name, nullptr);
        if (handles[testedInsteadOf(i)] != nullptr) continue;
        reportLacking(device.log, rows[i]);
        return false;
    }
    return true;
}

void releaseKernelsCL(ClDevice& device) {
    for (cl_kernel& handle : device.kernels.handles) {
        if (handle != nullptr) clApi()->clReleaseKernel(handle);
        handle = nullptr;
    }
}

}  // namespace brantel
