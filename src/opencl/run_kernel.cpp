#include "opencl/run_kernel.h"

#include <cstdio>
#include <cstring>

namespace brantel {

namespace {

constexpr std::size_t tile = 16;

std::size_t tiled(std::int32_t length) {
    const auto d = static_cast<std::size_t>(length);
    return d - d % tile + tile;
}

}  // namespace

cl_int enqueueTiles(const ClDevice& device, cl_kernel kernel, Extent extent) {
    const std::size_t global[2] = {tiled(extent.cols), tiled(extent.rows)};
    const std::size_t local[2] = {tile, tile};
    return clApi()->clEnqueueNDRangeKernel(device.clCommandQueue, kernel, 2, nullptr, global, local, 0,
                                           nullptr, nullptr);
}

void reportFailedKernel(const Log& log, ClKernel id) {
    char line[100];
    std::snprintf(line, sizeof line, "failed %s", nameOf(id));
    log.debugLine(line);
}

WrappedPixels::WrappedPixels(const ClDevice& device, void* pixels, std::int64_t bytes) : device_(device) {
    if (pixels == nullptr || bytes <= 0) return;
    handle_ = clApi()->clCreateBuffer(device.clContext, CL_MEM_READ_WRITE | CL_MEM_USE_HOST_PTR,
                                      static_cast<std::size_t>(bytes), pixels, nullptr);
}

void WrappedPixels::release() {
    if (handle_ == nullptr) return;
    clApi()->clFinish(device_.clCommandQueue);
    clApi()->clReleaseMemObject(handle_);
    handle_ = nullptr;
}

Mapping::Mapping(const ClDevice& device, cl_mem buffer, std::int64_t bytes)
    : device_(device), buffer_(buffer) {
    if (buffer == nullptr || bytes <= 0) return;
    cl_int status = CL_SUCCESS;
    pixels_ = clApi()->clEnqueueMapBuffer(device.clCommandQueue, buffer, CL_TRUE, CL_MAP_READ, 0,
                                          static_cast<std::size_t>(bytes), 0, nullptr, nullptr, &status);
    if (status != CL_SUCCESS) pixels_ = nullptr;
}

bool Mapping::unmap() {
    if (pixels_ == nullptr) return true;
    const cl_int status =
        clApi()->clEnqueueUnmapMemObject(device_.clCommandQueue, buffer_, pixels_, 0, nullptr, nullptr);
    pixels_ = nullptr;
    return status == CL_SUCCESS;
}

bool readBuffer(const ClDevice& device, cl_mem buffer, void* to, std::int64_t bytes) {
    const Mapping mapping(device, buffer, bytes);
    if (mapping.pixels() == nullptr) return false;
    std::memcpy(to, mapping.pixels(), static_cast<std::size_t>(bytes));
    return true;
}

bool writeBuffer(const ClDevice& device, cl_mem buffer, const void* from, std::int64_t bytes) {
    return buffer != nullptr && clApi()->clEnqueueWriteBuffer(device.clCommandQueue, buffer, CL_TRUE, 0,
                                                              static_cast<std::size_t>(bytes), from, 0,
                                                              nullptr, nullptr) == CL_SUCCESS;
}

bool packColumns(const ClDevice& device, cl_mem from, Extent size, std::int32_t columns, cl_mem to) {
    const std::size_t origin[3] = {0, 0, 0};
    const auto width = static_cast<std::size_t>(columns);
    const std::size_t region[3] = {width, static_cast<std::size_t>(size.rows), 1};
    return from != nullptr && to != nullptr &&
           clApi()->clEnqueueCopyBufferRect(device.clCommandQueue, from, to, origin, origin, region,
                                            static_cast<std::size_t>(size.cols), 0, width, 0, 0, nullptr,
                                            nullptr) == CL_SUCCESS;
}

}  // namespace brantel
