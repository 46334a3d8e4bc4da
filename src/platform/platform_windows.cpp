#include <windows.h>

#include "platform/platform.h"

namespace brantel::platform {

void debugOutput(const char* line) {
    OutputDebugStringA(line);
}

double seconds() {
    LARGE_INTEGER ticks;
    LARGE_INTEGER perSecond;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(perSecond.QuadPart);
}

void keepLibraryLoaded() {
    HMODULE self = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&keepLibraryLoaded), &self);
}

void* allocateZeroPages(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void freeZeroPages(void* memory, std::size_t) {
    if (memory != nullptr) VirtualFree(memory, 0, MEM_RELEASE);
}

void touchPages(void* /*memory*/, std::size_t /*bytes*/) {
    // A first read already gets the page that a write needs.
}

bool DynamicLibrary::open(const char* name) {
    if (handle_ == nullptr) handle_ = reinterpret_cast<void*>(LoadLibraryA(name));
    return handle_ != nullptr;
}

bool DynamicLibrary::openFromSystem(const char* name) {
    if (handle_ == nullptr)
        handle_ = reinterpret_cast<void*>(LoadLibraryExA(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    return handle_ != nullptr;
}

void DynamicLibrary::close() {
    if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
    handle_ = nullptr;
}

void* DynamicLibrary::symbol(const char* name) const {
    if (handle_ == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace brantel::platform
