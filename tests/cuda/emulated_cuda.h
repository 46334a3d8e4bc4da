// A stand-in for the CUDA runtime that runs the kernels as plain C++ on the calling thread.
//
// Device addresses come from a range that the host may not touch and are never handed out twice; device
// memory starts as garbage and lies in heap blocks, so that the sanitizers see a kernel that leaves its
// buffer. Copies check direction and range, launches their configuration as a device does.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#if defined(__ELF__)
#pragma GCC visibility push(default)  // a test may find all of this in a shared library
#endif

namespace emulated_cuda {

struct Launch {
    std::string kernel;
    unsigned gridX, gridY, blockX, blockY;
};
inline bool operator==(const Launch& a, const Launch& b) {
    return a.kernel == b.kernel && a.gridX == b.gridX && a.gridY == b.gridY && a.blockX == b.blockX &&
           a.blockY == b.blockY;
}
std::ostream& operator<<(std::ostream& out, const Launch& launch);

struct Allocation {
    char kind;  // 'd' device, 'h' page-locked host
    std::size_t bytes;
};

/// Copies of one direction.
struct Copies {
    int count;
    std::size_t bytes;
};

/// What went to and fro. A copy of a rectangle counts once.
struct Traffic {
    std::size_t launches;
    Copies toDevice;
    Copies toHost;
    Copies onDevice;
    std::size_t
        pageableBytes;  // from or to host memory that is not page-locked, which a device copies slowly
};

/// What goes wrong. Numbers count from 0 since the faults were set; -1 is never.
struct Faults {
    bool countFails = false;
    std::vector<std::size_t> deviceMiB = {8192};
    int allocation = -1;        // device and page-locked together
    int copy = -1;              // from this one on all fail
    std::string kernel;         // every launch of it is refused
    bool lostLaunches = false;  // are accepted and not done
    int busyDevice = -1;        // cannot be selected
    bool reverse = false;       // not a fault: threads run last to first
};

/// Takes effect at once and restarts the counts and records.
void setFaults(const Faults& faults);
inline void reset() {
    setFaults({});
}

std::vector<Launch> launches();
Traffic traffic();
std::vector<Allocation> allocations();
/// Uses that a device would punish: foreign pointers, copies out of range or in the wrong direction, frees of
/// what is not allocated, anything done while another device than the first is the thread's.
std::vector<std::string> violations();
void addViolation(const std::string& what);
int copies();
int deviceQueries();
/// Device and page-locked blocks not freed yet.
std::size_t liveBlocks();

}  // namespace emulated_cuda

#if defined(__ELF__)
#pragma GCC visibility pop
#endif
