// Every kernel object and device buffer of the backend: created once, released by the tear-down.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/types.h"
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

    std::size_t capacityOf(ClBuffer id) const { return entries[static_cast<std::size_t>(id)].bytes; }

    /// False when a kept buffer is too small for such frames. One that could not be made does not count: no
    /// kernel is run with it.
    bool hold(const ImageDesc& frame) const;
};

/// The kernel's name in cl.bin.
const char* nameOf(ClKernel id);

}  // namespace brantel
