#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace brantel::platform {

namespace {

constexpr std::size_t onlySmallPagesFrom = std::size_t{1} << 30;

}  // namespace

void debugOutput(const char* line) {
    const char* path = std::getenv("BRANTEL_DEBUG_OUTPUT");
    if (path == nullptr || *path == '\0') return;
    if (std::strcmp(path, "-") == 0) {
        std::fprintf(stderr, "%s\n", line);
        return;
    }
    if (FILE* file = std::fopen(path, "a")) {
        std::fprintf(file, "%s\n", line);
        std::fclose(file);
    }
}

std::int64_t processId() {
    return getpid();
}

int disableCancellation() {
    int state = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    return state;
}

void restoreCancellation(int state) {
    int ignored = 0;
    pthread_setcancelstate(state, &ignored);
    pthread_testcancel();
}

void keepLibraryLoaded() {
    // The library is linked with -z nodelete: dlclose never unmaps it.
}

void OtherProcessors::keepOffMine(pthread_t thread) {
    static_assert(sizeof usable_ == sizeof(cpu_set_t));
    const int mine = sched_getcpu();
    if (mine == avoided_ || mine < 0 || mine >= CPU_SETSIZE) return;
    avoided_ = mine;
    cpu_set_t usable;
    if (!isKnown_) {
        if (pthread_getaffinity_np(thread, sizeof usable, &usable) != 0) return;
        std::memcpy(usable_.data(), &usable, sizeof usable);
        isKnown_ = true;
    }
    std::memcpy(&usable, usable_.data(), sizeof usable);
    CPU_CLR(static_cast<unsigned>(mine), &usable);
    if (CPU_COUNT(&usable) > 0) pthread_setaffinity_np(thread, sizeof usable, &usable);
}

void* allocateZeroPages(std::size_t bytes) {
    // Most of a canvas is never touched, so nothing is set aside for it.
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    // With larger pages every row of a frame would take 2 MiB where rows are long.
    if (bytes >= onlySmallPagesFrom) madvise(memory, bytes, MADV_NOHUGEPAGE);
    return memory;
}

std::int64_t largestReservation(std::int64_t soon) {
    constexpr std::int64_t always = std::int64_t{1} << 44;
    rlimit addressSpace{};
    if (getrlimit(RLIMIT_AS, &addressSpace) != 0) return soon;
    if (addressSpace.rlim_cur == RLIM_INFINITY) return std::max(always, 4 * soon);
    return static_cast<std::int64_t>(addressSpace.rlim_cur / 8);
}

void freeZeroPages(void* memory, std::size_t bytes) {
    if (memory != nullptr) munmap(memory, bytes);
}

void touchPages(void* memory, std::size_t bytes) {
    constexpr std::size_t page = 4096;
    auto* const first = static_cast<unsigned char*>(memory);
    for (std::size_t at = 0; at < bytes; at += page - (reinterpret_cast<std::uintptr_t>(first + at) % page)) {
        unsigned char zero = 0;  // writes back what is there; plain code for that could begin with a read
        __atomic_compare_exchange_n(first + at, &zero, 0, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    }
}

void populatePages(void* memory, std::size_t bytes) {
    constexpr std::uintptr_t page = 4096;
    constexpr int populateWrite = 23;  // MADV_POPULATE_WRITE, since Linux 5.14
    const std::size_t before = reinterpret_cast<std::uintptr_t>(memory) % page;
    if (bytes > 0) madvise(static_cast<unsigned char*>(memory) - before, before + bytes, populateWrite);
}

bool DynamicLibrary::open(const char* name) {
    // The loader does not look for a bare name in the current folder or beside the host.
    if (handle_ == nullptr) handle_ = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    return handle_ != nullptr;
}

void DynamicLibrary::close() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
}

void* DynamicLibrary::symbol(const char* name) const {
    return handle_ == nullptr ? nullptr : dlsym(handle_, name);
}

}  // namespace brantel::platform
