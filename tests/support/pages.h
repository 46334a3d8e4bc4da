// Memory pages straight from the system.
#pragma once

#include <cstddef>

namespace brantel::test {

std::size_t pageSize();
/// Throws std::bad_alloc.
void* allocatePages(std::size_t bytes);
/// From now on reading or writing these pages ends the process.
void forbidPages(void* pages, std::size_t bytes);
void freePages(void* pages, std::size_t bytes);

}  // namespace brantel::test
