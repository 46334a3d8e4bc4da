#include <windows.h>

#include "platform/platform.h"

namespace brantel::platform {

void debugOutput(const char* line) {
    OutputDebugStringA(line);
}

std::int64_t processId() {
    return GetCurrentProcessId();
}

int disableCancellation() {
    return 0;
}

void restoreCancellation(int /*state*/) {}

void keepLibraryLoaded() {
    HMODULE self = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&keepLibraryLoaded), &self);
}

void OtherProcessors::keepOffMine(pthread_t /*thread*/) {}

void* allocateZeroPages(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

std::int64_t largestReservation(std::int64_t soon) {
    return 2 * soon;
}

void freeZeroPages(void* memory, std::size_t) {
    if (memory != nullptr) VirtualFree(memory, 0, MEM_RELEASE);
}

void touchPages(void* /*memory*/, std::size_t /*bytes*/) {
    // A first read already gets the page that a write needs.
}

void populatePages(void* /*memory*/, std::size_t /*bytes*/) {}

bool DynamicLibrary::open(const char* name) {
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
