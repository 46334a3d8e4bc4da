// Every kernel object and device buffer of the backend: created once, released by the tear-down.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "opencl/buffer_list.h"
#include "opencl/cl_api.h"
#include "opencl/kernel_list.h"

namespace brantel {

enum class ClKernel : std::size_t {
#define BRANTEL_CL_ID(name, channel, line) name,
    BRANTEL_CL_KERNELS(BRANTEL_CL_ID)
#undef BRANTEL_CL_ID
        count
};

enum class ClBuffer : std::size_t {
#define BRANTEL_CL_ID(name, size, line) name,
    BRANTEL_CL_BUFFERS(BRANTEL_CL_ID)
#undef BRANTEL_CL_ID
        count
};

struct KernelTable {
    std::array<cl_kernel, static_cast<std::size_t>(ClKernel::count)> handles{};

    cl_kernel operator[](ClKernel id) const { return handles[static_cast<std::size_t>(id)]; }
};

struct BufferTable {
    struct Entry {
        cl_mem handle = nullptr;
        std::size_t bytes = 0;
    };
    std::array<Entry, static_cast<std::size_t>(ClBuffer::count)> entries{};

    cl_mem operator[](ClBuffer id) const { return entries[static_cast<std::size_t>(id)].handle; }

    /// False when a kept buffer is too small for frames of rows x cols x channels. One that could not be made
    /// does not count: no kernel is run with it.
    bool hold(std::int32_t rows, std::int32_t cols, std::int32_t channels) const;
};

struct OpenclJoint;

/// The kernel's name in cl.bin.
const char* nameOf(ClKernel id);

/// Creates the kernels that are still null; false, with the kernel's line, at the first that cannot be made.
bool createKernel(OpenclJoint& cl);
void releaseKernelsCL(OpenclJoint& cl);

/// Creates the buffers that are still null. The first three arguments are not used. True in every case,
/// deliberately: a buffer that cannot be made stays null, and the steps that need it fail.
bool CreateMemObjectsImg(OpenclJoint& cl, std::int32_t scale, std::int32_t remainder, std::int32_t zero,
                         std::int32_t channels);
void releaseMemObjectsCL(OpenclJoint& cl);

}  // namespace brantel
