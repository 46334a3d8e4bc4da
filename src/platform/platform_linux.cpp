#include <dlfcn.h>
#include <sys/mman.h>
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace brantel::platform {

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

double seconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void keepLibraryLoaded() {
    // The library is linked with -z nodelete: dlclose never unmaps it.
}

void* allocateZeroPages(std::size_t bytes) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
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

bool DynamicLibrary::open(const char* name) {
    if (handle_ == nullptr) handle_ = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    return handle_ != nullptr;
}

bool DynamicLibrary::openFromSystem(const char* name) {
    return open(name);  // the loader leaves the current folder out anyway
}

void DynamicLibrary::close() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
}

void* DynamicLibrary::symbol(const char* name) const {
    return handle_ == nullptr ? nullptr : dlsym(handle_, name);
}

}  // namespace brantel::platform
