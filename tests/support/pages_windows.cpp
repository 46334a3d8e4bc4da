#include <windows.h>

#include <new>

#include "support/pages.h"

namespace brantel::test {

std::size_t pageSize() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

void* allocatePages(std::size_t bytes) {
    void* pages = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (pages == nullptr) throw std::bad_alloc();
    return pages;
}

void forbidPages(void* pages, std::size_t bytes) {
    DWORD before = 0;
    VirtualProtect(pages, bytes, PAGE_NOACCESS, &before);
}

void freePages(void* pages, std::size_t /*bytes*/) {
    VirtualFree(pages, 0, MEM_RELEASE);
}

}  // namespace brantel::test
