#include "faults/fault_injection.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// Plain atomics with constant initialisation: they are used before any constructor has run.
std::atomic<bool> armed{false};
std::atomic<std::int64_t> counted{0};
std::atomic<std::int64_t> failAt{0};
std::atomic<bool> failAllLater{false};
std::atomic<bool> workersOnly{false};
std::atomic<bool> hasStruck{false};
std::atomic<int> threadsUntilFault{0};
std::atomic<std::int64_t> blocks{0};
pthread_t hostThread;

bool allocationMustFail() {
    if (!armed.load()) return false;
    if (workersOnly.load() && pthread_equal(pthread_self(), hostThread) != 0) return false;
    const std::int64_t number = counted.fetch_add(1) + 1;
    const std::int64_t target = failAt.load();
    if (target == 0 || number < target || (number > target && !failAllLater.load())) return false;
    hasStruck = true;
    return true;
}

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void* allocate(std::size_t size, std::size_t alignment) {
    if (allocationMustFail()) return nullptr;
    const bool usual = alignment <= alignof(std::max_align_t);
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    void* memory = usual ? std::malloc(size == 0 ? 1 : size) : std::aligned_alloc(alignment, rounded);
    if (memory != nullptr) ++blocks;
    return memory;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
    void* memory = allocate(size, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void release(void* memory) {
    if (memory == nullptr) return;
    --blocks;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    release(memory);
}

// Seen by the shared libraries, too.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

// OpenCV takes its pixels from here.
INTERPOSED int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    static const auto real = next<int (*)(void**, std::size_t, std::size_t)>("posix_memalign");
    return allocationMustFail() ? ENOMEM : real(memory, alignment, size);
}

// ThreadSanitizer calls mmap before it is ready for instrumented code, so its build goes without this one.
#if !defined(__SANITIZE_THREAD__)
// The canvas takes its pages from here.
INTERPOSED void* mmap(void* address, std::size_t length, int protection, int flags, int file,
                      off_t offset) noexcept {
    static const auto real = next<void* (*)(void*, std::size_t, int, int, int, off_t)>("mmap");
    if (!allocationMustFail()) return real(address, length, protection, flags, file, offset);
    errno = ENOMEM;
    return MAP_FAILED;
}
#endif

INTERPOSED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                              void* argument) noexcept {
    static const auto real =
        next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    if (threadsUntilFault.load() > 0 && --threadsUntilFault == 0) return EAGAIN;
    return real(thread, attributes, body, argument);
}

namespace brantel::test {

FailingAllocation::FailingAllocation(std::int64_t number, FaultLength length, FaultThreads threads) {
    hostThread = pthread_self();
    counted = 0;
    failAt = number;
    failAllLater = length == FaultLength::fromThenOn;
    workersOnly = threads == FaultThreads::onlyWorkers;
    hasStruck = false;
}

FailingAllocation::~FailingAllocation() {
    failAt = 0;
}

FailingAllocation::Arm::Arm() {
    armed = true;
}

FailingAllocation::Arm::~Arm() {
    armed = false;
}

std::int64_t FailingAllocation::seen() {
    return counted;
}

bool FailingAllocation::struck() {
    return hasStruck;
}

FailingThread::FailingThread(int number) {
    threadsUntilFault = number;
}

FailingThread::~FailingThread() {
    threadsUntilFault = 0;
}

std::int64_t liveBlocks() {
    return blocks;
}

}  // namespace brantel::test
