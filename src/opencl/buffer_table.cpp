#include "opencl/device.h"

namespace brantel {

namespace {

enum class Size { bytes, floats, border1, border2, frame };

struct BufferRow {
    Size size;
    const char* failLine;
};

constexpr BufferRow rows[] = {
#define BRANTEL_CL_ROW(name, size, line) {Size::size, line},
    BRANTEL_CL_BUFFERS(BRANTEL_CL_ROW)
#undef BRANTEL_CL_ROW
};

/// In 64 bits; sizes that no memory could hold wrap, and the geometry they come from is refused elsewhere.
std::size_t bytesOf(Size size, Extent frame, std::int32_t channels) {
    const auto area = [&](std::int64_t border) {
        return static_cast<std::uint64_t>(frame.rows + border) *
               static_cast<std::uint64_t>(frame.cols + border);
    };
    switch (size) {
        case Size::floats:
            return static_cast<std::size_t>(4 * area(0));
        case Size::border1:
            return static_cast<std::size_t>(area(2));
        case Size::border2:
            return static_cast<std::size_t>(area(4));
        case Size::frame:
            return static_cast<std::size_t>(area(0) * static_cast<std::uint64_t>(std::int64_t{channels}));
        default:
            return static_cast<std::size_t>(area(0));
    }
}

}  // namespace

bool BufferTable::hold(const ImageDesc& frame) const {
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries[i].handle != nullptr &&
            entries[i].bytes < bytesOf(rows[i].size, {frame.rows, frame.cols}, frame.channels))
            return false;
    return true;
}

bool CreateMemObjectsImg(ClDevice& device, Extent frame, std::int32_t /*scale*/, std::int32_t /*remainder*/,
                         std::int32_t /*zero*/, std::int32_t channels) {
    auto& entries = device.buffers.entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].handle != nullptr) continue;
        entries[i].bytes = bytesOf(rows[i].size, frame, channels);
        entries[i].handle =
            clApi()->clCreateBuffer(device.clContext, CL_MEM_READ_WRITE, entries[i].bytes, nullptr, nullptr);
        if (entries[i].handle == nullptr && rows[i].failLine != nullptr)
            device.log.debugLine(rows[i].failLine);
    }
    return true;
}

cl_mem ensureBuffer(const ClDevice& device, BufferTable::Entry& buffer, std::int64_t bytes) {
    const auto wanted = static_cast<std::size_t>(bytes);
    if (buffer.handle != nullptr && buffer.bytes >= wanted) return buffer.handle;
    releaseBuffer(buffer);
    buffer.handle = clApi()->clCreateBuffer(device.clContext, CL_MEM_READ_WRITE, wanted, nullptr, nullptr);
    buffer.bytes = wanted;
    return buffer.handle;
}

void releaseBuffer(BufferTable::Entry& buffer) {
    if (buffer.handle != nullptr) clApi()->clReleaseMemObject(buffer.handle);
    buffer = {};
}

void releaseMemObjectsCL(ClDevice& device) {
    for (std::size_t i = 0; i < device.buffers.entries.size(); ++i) {
        BufferTable::Entry& entry = device.buffers.entries[i];
        // One buffer is never released, deliberately (quirk 62). Its handle is forgotten all the same: it belongs to the
        // old context, where no later kernel could use it.
        const bool keptAlive = static_cast<ClBuffer>(i) == ClBuffer::filterTempClOne;
        if (entry.handle != nullptr && !keptAlive) clApi()->clReleaseMemObject(entry.handle);
        entry = {};
    }
}

}  // namespace brantel
