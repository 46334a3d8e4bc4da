// Platform and device choice, and the device report.
#include <cstring>
#include <string>
#include <vector>

#include "opencl/device.h"

namespace brantel {

namespace {

constexpr float perStep = 0.0009765625F;  // 1 / 1024
constexpr float leastMebibytes = 4096.0F;

std::string platformName(cl_platform_id platform) {
    std::size_t size = 0;
    if (clApi()->clGetPlatformInfo(platform, CL_PLATFORM_NAME, 0, nullptr, &size) != CL_SUCCESS) return {};
    std::string name(size, '\0');
    clApi()->clGetPlatformInfo(platform, CL_PLATFORM_NAME, size, name.data(), nullptr);
    return name;
}

/// The last platform of each maker wins. Only the first three letters of a name count.
void findPlatforms(ClDevice& device, const std::vector<cl_platform_id>& platforms) {
    device.amdPlatformIndex = device.nvidiaPlatformIndex = -1;
    for (std::size_t i = 0; i < platforms.size(); ++i) {
        const std::string name = platformName(platforms[i]);
        if (name.compare(0, 3, "AMD") == 0) device.amdPlatformIndex = static_cast<std::int32_t>(i);
        if (name.compare(0, 3, "NVI") == 0) device.nvidiaPlatformIndex = static_cast<std::int32_t>(i);
    }
}

/// The platform's first GPU; null when there is none or the query fails.
cl_device_id firstGpu(cl_platform_id platform) {
    cl_uint count = 0;
    clApi()->clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, 0, nullptr, &count);
    if (count == 0) return nullptr;
    std::vector<cl_device_id> devices(count);
    const cl_int status =
        clApi()->clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, count, devices.data(), nullptr);
    return status == CL_SUCCESS ? devices[0] : nullptr;
}

/// AMD before NVIDIA; other platforms and processors are never considered.
cl_device_id chooseDevice(ClDevice& device) {
    cl_uint count = 0;
    clApi()->clGetPlatformIDs(0, nullptr, &count);
    if (count == 0) return nullptr;
    std::vector<cl_platform_id> platforms(count);
    if (clApi()->clGetPlatformIDs(count, platforms.data(), nullptr) != CL_SUCCESS) return nullptr;
    findPlatforms(device, platforms);
    for (const std::int32_t index : {device.amdPlatformIndex, device.nvidiaPlatformIndex}) {
        if (index < 0) continue;
        const cl_device_id gpu = firstGpu(platforms[static_cast<std::size_t>(index)]);
        if (gpu != nullptr) return gpu;
    }
    return nullptr;
}

template <class T>
T deviceValue(cl_device_id device, cl_device_info what) {
    T value{};
    clApi()->clGetDeviceInfo(device, what, sizeof value, &value, nullptr);
    return value;
}

void queryDeviceName(cl_device_id device) {
    std::size_t size = 0;
    clApi()->clGetDeviceInfo(device, CL_DEVICE_NAME, 0, nullptr, &size);
    std::vector<char> name(size);
    if (size > 0) clApi()->clGetDeviceInfo(device, CL_DEVICE_NAME, size, name.data(), nullptr);
}

/// Prints the device's properties; false when it will not do. The labels are fixed, also where they do not
/// describe the value.
bool reportDevice(const Log& log, cl_device_id device) {
    queryDeviceName(device);  // asked for, but not printed
    log.clLog("Compute Units Number:%d\n",
              static_cast<int>(deviceValue<cl_uint>(device, CL_DEVICE_MAX_COMPUTE_UNITS)));
    log.clLog("Device Frequency:%d(MHz)\n",
              static_cast<int>(deviceValue<cl_uint>(device, CL_DEVICE_MAX_CLOCK_FREQUENCY)));
    const float mebibytes =
        static_cast<float>(deviceValue<cl_ulong>(device, CL_DEVICE_GLOBAL_MEM_SIZE)) * perStep * perStep;
    log.clLog("Device Frequency:%0.0f(MB)\n", static_cast<double>(mebibytes));
    if (mebibytes < leastMebibytes) return false;
    log.clLog("Device Frequency:%d(Byte)\n",
              static_cast<int>(deviceValue<cl_uint>(device, CL_DEVICE_GLOBAL_MEM_CACHELINE_SIZE)));

    char version[100] = {};
    const cl_int status =
        clApi()->clGetDeviceInfo(device, CL_DEVICE_VERSION, sizeof version, version, nullptr);
    version[sizeof version - 1] = '\0';
    log.clLog("Device DeviceVersion:%s\n", version);
    if (status != CL_SUCCESS) {
        log.clLog("There is NO GPU or CPU");
        return false;
    }
    deviceValue<cl_uint>(device, CL_DEVICE_PREFERRED_VECTOR_WIDTH_FLOAT);  // asked for, but not used
    return true;
}

}  // namespace

cl_context CreateContext(ClDevice& device) {
    if (clApi() == nullptr) return nullptr;  // no runtime installed: as without a platform
    device.clDevice = chooseDevice(device);
    if (device.clDevice == nullptr || !reportDevice(device.log, device.clDevice)) return nullptr;
    cl_int status = CL_SUCCESS;
    const cl_context context =
        clApi()->clCreateContext(nullptr, 1, &device.clDevice, nullptr, nullptr, &status);
    if (status == CL_SUCCESS) return context;
    device.log.clLog("create context error \n");
    return nullptr;
}

}  // namespace brantel
