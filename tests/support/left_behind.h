// What rounds of the same work leave behind in a process: threads, open files, memory.
#pragma once

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace brantel::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memoryIsTheLibrarys = false;  // a sanitizer keeps freed memory and shadows it
#else
constexpr bool memoryIsTheLibrarys = true;
#endif

inline std::int64_t entriesOf(const char* directory) {
    std::int64_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
    return count;
}

struct Usage {
    std::int64_t threads = entriesOf("/proc/self/task");
    std::int64_t files = entriesOf("/proc/self/fd");
    std::int64_t residentBytes = 0;
    std::int64_t heapBytes = 0;

    Usage() {
        malloc_trim(0);
        std::int64_t total = 0;
        std::int64_t pages = 0;
        std::ifstream("/proc/self/statm") >> total >> pages;
        residentBytes = pages * sysconf(_SC_PAGESIZE);
        const struct mallinfo2 heap = mallinfo2();
        heapBytes = static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
    }
};

constexpr int rounds = memoryIsTheLibrarys ? 100 : 20;

/// A hundred rounds leave no thread and no file, and at most 40 bytes each. What a thread has freed counts as used while it
/// lies in that thread's cache, a few kilobytes more or less whenever one looks; a leak, though, grows in every stretch of a
/// hundred, so the stretch that grew least tells.
template <class Round>
void expectNothingLeftBehind(Round round) {
    for (int i = 0; i < 10; ++i) round();
    const Usage first;
    Usage before = first;
    std::int64_t grown = INT64_MAX;
    for (int stretch = 0; stretch < 4 && grown > 4000; ++stretch) {
        for (int i = 0; i < rounds && !::testing::Test::HasFailure(); ++i) round();
        const Usage after;
        grown = std::min(grown, after.heapBytes - before.heapBytes);
        before = after;
        if (!memoryIsTheLibrarys) break;
    }
    EXPECT_LE(before.threads, first.threads + 1);  // the last one joined may be listed for a moment longer
    EXPECT_EQ(before.files, first.files);
    if (!memoryIsTheLibrarys) return;
    EXPECT_LE(grown, 4000);
    EXPECT_LE(before.residentBytes - first.residentBytes, 1 << 20);
    std::printf("resident %+lld bytes, heap %+lld bytes in 100 rounds\n",
                static_cast<long long>(before.residentBytes - first.residentBytes),
                static_cast<long long>(grown));
}

}  // namespace brantel::test
