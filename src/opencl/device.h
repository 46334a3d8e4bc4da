// The device and everything that is made on it: brought up in steps, each skipped for what there is already.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/log.h"
#include "opencl/tables.h"

namespace brantel {

/// What a kernel covers, or the size of an image.
struct Extent {
    std::int32_t rows;
    std::int32_t cols;
};

/// A program text that a device's compiler refused, and what it said: compiling takes long, also in vain, and
/// every initialisation asks for it again.
struct RefusedText {
    cl_device_id device = nullptr;
    std::vector<char> text;
    std::string buildLog;

    bool isAbout(cl_device_id other, const std::vector<char>& otherText) const {
        return device == other && text == otherText;
    }
};

struct ClDevice {
    const Log& log;
    cl_device_id clDevice = nullptr;
    cl_context clContext = nullptr;
    cl_command_queue clCommandQueue = nullptr;
    cl_program clProgram = nullptr;
    std::int32_t amdPlatformIndex = -1;
    std::int32_t nvidiaPlatformIndex = -1;
    KernelTable kernels;
    BufferTable buffers;
    RefusedText refused;  // stays known when everything else is released

    explicit ClDevice(const Log& l) : log(l) {}
};

/// Context, queue and program. What was made is released again when one fails.
bool openDevice(ClDevice& device);
/// Releases queue, program and context.
void closeDevice(ClDevice& device);

/// Picks a GPU on an AMD or NVIDIA platform, reports on it and makes a context on it; null when there is none
/// that will do.
cl_context CreateContext(ClDevice& device);

/// Builds the kernels of "cl.bin" in the current directory for the context's device. A text that it refused
/// before is refused again with the same lines, without being built.
cl_program CreateProgram(ClDevice& device);

/// Creates the kernels that are still null; false, with the kernel's line, at the first that cannot be made.
bool createKernel(ClDevice& device);
void releaseKernelsCL(ClDevice& device);

/// Creates the buffers that are still null, for frames of this extent. The three arguments behind it are not
/// used. True in every case, deliberately (quirk 61): a buffer that cannot be made stays null, and the steps that need
/// it fail.
bool CreateMemObjectsImg(ClDevice& device, Extent frame, std::int32_t scale, std::int32_t remainder,
                         std::int32_t zero, std::int32_t channels);
void releaseMemObjectsCL(ClDevice& device);

/// A buffer beside the table, made or made anew when it has fewer bytes. Null when it cannot be made.
cl_mem ensureBuffer(const ClDevice& device, BufferTable::Entry& buffer, std::int64_t bytes);
void releaseBuffer(BufferTable::Entry& buffer);

}  // namespace brantel
