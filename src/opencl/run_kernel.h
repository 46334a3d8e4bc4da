// Running kernels and moving pixels between host and device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "opencl/device.h"

namespace brantel {

inline bool present(cl_mem buffer) {
    return buffer != nullptr;
}
inline bool present(std::int32_t /*number*/) {
    return true;
}

/// Enqueues over at least the extent, in tiles of 16 x 16; a whole tile is added even where the dimension is
/// a multiple of 16, deliberately (quirk 65).
cl_int enqueueTiles(const ClDevice& device, cl_kernel kernel, Extent extent);

/// Sets the arguments and enqueues. A kernel or buffer that could not be made is never enqueued: drivers
/// crash on it. Silent.
template <class... Args>
bool runKernel(const ClDevice& device, ClKernel id, Extent extent, Args... args) {
    static_assert(((std::is_same_v<Args, cl_mem> || std::is_same_v<Args, std::int32_t>)&&...));
    const cl_kernel kernel = device.kernels[id];
    if (kernel == nullptr || extent.rows <= 0 || extent.cols <= 0 || !(present(args) && ...)) return false;
    cl_int clStatus = CL_SUCCESS;
    cl_uint index = 0;
    // The handle of a buffer is itself the argument.
    // NOLINTNEXTLINE(bugprone-sizeof-expression)
    ((clStatus |= clApi()->clSetKernelArg(kernel, index++, sizeof(Args), &args)), ...);
    if (clStatus == CL_SUCCESS) clStatus = enqueueTiles(device, kernel, extent);
    return clStatus == CL_SUCCESS;
}

/// For kernels without a failure line of their own: the debugger learns which one failed.
void reportFailedKernel(const Log& log, ClKernel id);
template <class... Args>
bool runStep(const ClDevice& device, ClKernel id, Extent extent, Args... args) {
    if (runKernel(device, id, extent, args...)) return true;
    reportFailedKernel(device.log, id);
    return false;
}

/// A device buffer over host pixels.
class WrappedPixels {
  public:
    WrappedPixels(const ClDevice& device, void* pixels, std::int64_t bytes);
    WrappedPixels(const WrappedPixels&) = delete;
    WrappedPixels& operator=(const WrappedPixels&) = delete;
    ~WrappedPixels() { release(); }

    cl_mem handle() const { return handle_; }
    /// Waits for everything that still uses the pixels; they may be gone afterwards.
    void release();

  private:
    const ClDevice& device_;
    cl_mem handle_ = nullptr;
};

/// A buffer mapped for reading (blocking). Its pixels may be read until unmap().
class Mapping {
  public:
    Mapping(const ClDevice& device, cl_mem buffer, std::int64_t bytes);
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping() { unmap(); }

    const void* pixels() const { return pixels_; }
    bool unmap();

  private:
    const ClDevice& device_;
    cl_mem buffer_;
    void* pixels_ = nullptr;
};

/// Copies a buffer's first bytes to the host by mapping it.
bool readBuffer(const ClDevice& device, cl_mem buffer, void* to, std::int64_t bytes);
bool writeBuffer(const ClDevice& device, cl_mem buffer, const void* from, std::int64_t bytes);

/// Copies the first columns of a byte image of the given size, row by row, into a packed image of that width,
/// on the device.
bool packColumns(const ClDevice& device, cl_mem from, Extent size, std::int32_t columns, cl_mem to);

}  // namespace brantel
