#include "cuda/emulated_cuda.h"

#include <cuda_runtime_api.h>
#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>

#include "gpu/plain_kernels.h"

namespace emulated_cuda {

namespace {

struct Block {
    std::size_t size;
    std::unique_ptr<char[]> bytes;
};

/// Address space that faults when the host uses it.
class Reserved {
  public:
    static constexpr std::size_t size = std::size_t{1} << 36U;

    Reserved() : base_(reinterpret_cast<std::uintptr_t>(reserve())) {}
    bool holds(const void* p) const {
        const auto at = reinterpret_cast<std::uintptr_t>(p);
        return at >= base_ && at < base_ + size;
    }
    /// An address with a gap behind it; 0 when the space is used up.
    std::uintptr_t take(std::size_t bytes) {
        constexpr std::size_t page = 4096;
        if (bytes > size || used_ > size - bytes - 2 * page) return 0;
        const std::uintptr_t at = base_ + used_;
        used_ += (bytes + 2 * page - 1) / page * page;
        return at;
    }

  private:
    static void* reserve() {
#if defined(_WIN32)
        return VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
#else
        return mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
#endif
    }

    std::uintptr_t base_;
    std::size_t used_ = 0;
};

struct State {
    std::mutex mutex;
    Reserved reserved;
    std::map<std::uintptr_t, Block> device;
    std::map<std::uintptr_t, Block> pageLocked;

    Faults faults;
    std::vector<Launch> launches;
    std::vector<Allocation> allocations;
    std::vector<std::string> violations;
    Traffic traffic{};
    int copies = 0;
    int queries = 0;
};

thread_local int currentDevice = 0;

State& state() {
    static State& instance = *new State;
    return instance;
}

/// Everything lies on the first device.
void useDevice(const char* user) {
    if (currentDevice != 0) state().violations.push_back(std::string(user) + " on another device");
}

bool allocationDenied(char kind, std::size_t bytes) {
    State& s = state();
    const auto number = static_cast<int>(s.allocations.size());
    const bool denied = number == s.faults.allocation;
    s.allocations.push_back({kind, bytes});
    return denied;
}

Block garbage(std::size_t bytes) {
    Block block{bytes, std::unique_ptr<char[]>(new char[bytes])};
    std::memset(block.bytes.get(), 0xCD, bytes);
    return block;
}

/// Where bytes of device memory really lie; null, with a note, when they are not all of one block.
char* storage(const void* p, std::size_t bytes, const std::string& user) {
    State& s = state();
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    auto next = s.device.upper_bound(at);
    if (s.reserved.holds(p) && next != s.device.begin()) {
        const auto& [start, block] = *std::prev(next);
        const std::size_t offset = at - start;
        if (offset <= block.size && bytes <= block.size - offset) return block.bytes.get() + offset;
    }
    s.violations.push_back(user + ": no device memory of " + std::to_string(bytes) + " bytes");
    return nullptr;
}

const gpu_test::PlainKernel* kernelOf(const void* handle) {
    for (const gpu_test::PlainKernel& kernel : gpu_test::plainKernels())
        if (kernel.handle == handle) return &kernel;
    return nullptr;
}

cudaError_t refusal(const gpu_test::PlainKernel& kernel, dim3 grid, dim3 block) {
    const State& s = state();
    const unsigned threads = block.x * block.y * block.z;
    const bool possible = grid.x >= 1 && grid.x <= 0x7fffffffU && grid.y >= 1 && grid.y <= 65535 &&
                          grid.z == 1 && threads >= 1 && threads <= 1024;
    return possible && s.faults.kernel != kernel.name ? cudaSuccess : cudaErrorInvalidConfiguration;
}

/// Runs a kernel whose device pointers have been replaced by what they stand for.
cudaError_t run(const gpu_test::PlainKernel& kernel, dim3 grid, dim3 block, void** arguments) {
    std::vector<void*> pointers(kernel.parameters.size());
    std::vector<void*> values(kernel.parameters.size());
    bool reverse = false;
    bool lost = false;
    {
        State& s = state();
        const std::lock_guard<std::mutex> hold(s.mutex);
        useDevice("launch");
        if (refusal(kernel, grid, block) != cudaSuccess) return cudaErrorInvalidConfiguration;
        s.launches.push_back({kernel.name, grid.x, grid.y, block.x, block.y});
        reverse = s.faults.reverse;
        lost = s.faults.lostLaunches;
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = arguments[i];
            if (kernel.parameters[i] == 'i') continue;
            pointers[i] = storage(*static_cast<void**>(arguments[i]), 1, kernel.name);
            if (pointers[i] == nullptr) return cudaErrorLaunchFailure;
            values[i] = &pointers[i];
        }
    }
    if (!lost) gpu_test::runGrid(kernel, {grid.x, grid.y}, {block.x, block.y}, values.data(), reverse);
    return cudaSuccess;
}

/// The page-locked block that holds an address, or null.
const Block* pageLockedBlock(const void* p, std::size_t* offset) {
    State& s = state();
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    auto next = s.pageLocked.upper_bound(at);
    if (next == s.pageLocked.begin()) return nullptr;
    const auto& [start, block] = *std::prev(next);
    *offset = at - start;
    return *offset < block.size ? &block : nullptr;
}

/// Host memory must not lie on the device, and page-locked memory must be long enough.
void* hostMemory(const void* p, std::size_t bytes) {
    State& s = state();
    std::size_t offset = 0;
    const Block* locked = pageLockedBlock(p, &offset);
    if (locked == nullptr) s.traffic.pageableBytes += bytes;
    const bool fits = locked == nullptr || bytes <= locked->size - offset;
    if (p != nullptr && !s.reserved.holds(p) && fits) return const_cast<void*>(p);
    s.violations.push_back("copy: no host memory of " + std::to_string(bytes) + " bytes");
    return nullptr;
}

Copies& copiesOf(cudaMemcpyKind kind) {
    Traffic& traffic = state().traffic;
    if (kind == cudaMemcpyHostToDevice) return traffic.toDevice;
    return kind == cudaMemcpyDeviceToHost ? traffic.toHost : traffic.onDevice;
}

bool copyFails() {
    State& s = state();
    const int number = s.copies++;
    return s.faults.copy >= 0 && number >= s.faults.copy;
}

/// A copy of so many rows, each a pitch behind the one before it.
cudaError_t copyRows(char* to, std::size_t toPitch, const char* from, std::size_t fromPitch,
                     std::size_t width, std::size_t height, cudaMemcpyKind kind) {
    const bool fromHost = kind == cudaMemcpyHostToDevice;
    const bool toHost = kind == cudaMemcpyDeviceToHost;
    {
        State& s = state();
        const std::lock_guard<std::mutex> hold(s.mutex);
        useDevice("copy");
        if (copyFails()) return cudaErrorLaunchFailure;
        ++copiesOf(kind).count;
        copiesOf(kind).bytes += width * height;
    }
    for (std::size_t row = 0; row < height; ++row, to += toPitch, from += fromPitch) {
        const void* source = nullptr;
        void* target = nullptr;
        {
            const std::lock_guard<std::mutex> hold(state().mutex);
            source = fromHost ? hostMemory(from, width) : storage(from, width, "copy");
            target = toHost ? hostMemory(to, width) : storage(to, width, "copy");
        }
        if (source == nullptr || target == nullptr) return cudaErrorInvalidValue;
        std::memcpy(target, source, width);
    }
    return cudaSuccess;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Launch& launch) {
    return out << launch.kernel << " grid " << launch.gridX << " x " << launch.gridY << " block "
               << launch.blockX << " x " << launch.blockY;
}

void setFaults(const Faults& faults) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    s.faults = faults;
    s.launches.clear();
    s.allocations.clear();
    s.violations.clear();
    s.traffic = {};
    s.copies = 0;
    s.queries = 0;
}

template <class T>
T locked(T State::*member) {
    const std::lock_guard<std::mutex> hold(state().mutex);
    return state().*member;
}
std::vector<Launch> launches() {
    return locked(&State::launches);
}
Traffic traffic() {
    Traffic traffic = locked(&State::traffic);
    traffic.launches = launches().size();
    return traffic;
}
std::vector<Allocation> allocations() {
    return locked(&State::allocations);
}
std::vector<std::string> violations() {
    return locked(&State::violations);
}
void addViolation(const std::string& what) {
    const std::lock_guard<std::mutex> hold(state().mutex);
    state().violations.push_back(what);
}
int copies() {
    return locked(&State::copies);
}
int deviceQueries() {
    return locked(&State::queries);
}
std::size_t liveBlocks() {
    const std::lock_guard<std::mutex> hold(state().mutex);
    return state().device.size() + state().pageLocked.size();
}

}  // namespace emulated_cuda

using namespace emulated_cuda;

extern "C" {

cudaError_t cudaGetDeviceCount(int* count) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    ++s.queries;
    if (s.faults.countFails) return cudaErrorInsufficientDriver;  // the count is left alone
    *count = static_cast<int>(s.faults.deviceMiB.size());
    return s.faults.deviceMiB.empty() ? cudaErrorNoDevice : cudaSuccess;
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    *properties = cudaDeviceProp{};
    properties->totalGlobalMem = s.faults.deviceMiB.at(static_cast<std::size_t>(device)) << 20U;
    return cudaSuccess;
}

cudaError_t cudaGetDevice(int* device) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    if (s.faults.deviceMiB.empty()) return cudaErrorNoDevice;
    *device = currentDevice;
    return cudaSuccess;
}

cudaError_t cudaSetDevice(int device) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    const bool exists = device >= 0 && device < static_cast<int>(s.faults.deviceMiB.size());
    if (!exists || s.faults.busyDevice == device) return cudaErrorInvalidDevice;
    currentDevice = device;
    return cudaSuccess;
}

cudaError_t cudaMalloc(void** at, std::size_t bytes) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    useDevice("cudaMalloc");
    const std::uintptr_t address = allocationDenied('d', bytes) ? 0 : s.reserved.take(bytes);
    if (address == 0) return cudaErrorMemoryAllocation;  // *at is left alone
    s.device.emplace(address, garbage(bytes));
    *at = reinterpret_cast<void*>(address);  // NOLINT(performance-no-int-to-ptr)
    return cudaSuccess;
}

cudaError_t cudaFree(void* at) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    useDevice("cudaFree");
    if (s.device.erase(reinterpret_cast<std::uintptr_t>(at)) == 0)
        s.violations.emplace_back("wrong cudaFree");
    return cudaSuccess;
}

cudaError_t cudaHostAlloc(void** at, std::size_t bytes, unsigned /*flags*/) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    useDevice("cudaHostAlloc");
    if (allocationDenied('h', bytes)) return cudaErrorMemoryAllocation;
    Block block = garbage(bytes);
    *at = block.bytes.get();
    s.pageLocked.emplace(reinterpret_cast<std::uintptr_t>(*at), std::move(block));
    return cudaSuccess;
}

cudaError_t cudaFreeHost(void* at) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    useDevice("cudaFreeHost");
    if (s.pageLocked.erase(reinterpret_cast<std::uintptr_t>(at)) == 0)
        s.violations.emplace_back("wrong cudaFreeHost");
    return cudaSuccess;
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return copyRows(static_cast<char*>(to), bytes, static_cast<const char*>(from), bytes, bytes, 1, kind);
}

cudaError_t cudaMemcpy2D(void* to, std::size_t toPitch, const void* from, std::size_t fromPitch,
                         std::size_t width, std::size_t height, cudaMemcpyKind kind) {
    return copyRows(static_cast<char*>(to), toPitch, static_cast<const char*>(from), fromPitch, width, height,
                    kind);
}

cudaError_t cudaMemset(void* at, int value, std::size_t bytes) {
    State& s = state();
    const std::lock_guard<std::mutex> hold(s.mutex);
    useDevice("memset");
    char* target = storage(at, bytes, "memset");
    if (target == nullptr) return cudaErrorInvalidValue;
    std::memset(target, value, bytes);
    return cudaSuccess;
}

cudaError_t cudaLaunchKernel(const void* handle, dim3 grid, dim3 block, void** arguments,
                             std::size_t /*sharedBytes*/, cudaStream_t /*stream*/) {
    const gpu_test::PlainKernel* kernel = kernelOf(handle);
    if (kernel == nullptr) return cudaErrorInvalidDeviceFunction;
    return run(*kernel, grid, block, arguments);
}
}
