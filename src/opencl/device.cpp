#include "opencl/device.h"

namespace brantel {

bool openDevice(ClDevice& device) {
    if (device.clContext == nullptr) device.clContext = CreateContext(device);
    if (device.clContext == nullptr) {
        device.log.debugLine("commandQueue failed");
        return false;
    }
    if (device.clCommandQueue == nullptr)
        device.clCommandQueue = clApi()->clCreateCommandQueue(device.clContext, device.clDevice, 0, nullptr);
    if (device.clCommandQueue == nullptr) {
        device.log.clLog("Failed to create commandQueue for device 0");
        device.log.debugLine("commandQueue failed");
        closeDevice(device);
        return false;
    }
    if (device.clProgram == nullptr) device.clProgram = CreateProgram(device);
    if (device.clProgram == nullptr) closeDevice(device);
    return device.clProgram != nullptr;
}

void closeDevice(ClDevice& device) {
    if (device.clCommandQueue != nullptr) clApi()->clReleaseCommandQueue(device.clCommandQueue);
    device.clCommandQueue = nullptr;
    if (device.clProgram != nullptr) clApi()->clReleaseProgram(device.clProgram);
    device.clProgram = nullptr;
    if (device.clContext != nullptr) clApi()->clReleaseContext(device.clContext);
    device.clContext = nullptr;
}

}  // namespace brantel
