#include <sys/mman.h>
#include <unistd.h>

#include <new>

#include "support/pages.h"

namespace brantel::test {

std::size_t pageSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void* allocatePages(std::size_t bytes) {
    void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    return pages;
}

void forbidPages(void* pages, std::size_t bytes) {
    mprotect(pages, bytes, PROT_NONE);
}

void freePages(void* pages, std::size_t bytes) {
    munmap(pages, bytes);
}

}  // namespace brantel::test
