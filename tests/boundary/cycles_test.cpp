// A hundred lives of the library in one process leave nothing behind.
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "boundary/fixture.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memoryIsTheLibrarys = false;  // a sanitizer keeps freed memory and shadows it
#else
constexpr bool memoryIsTheLibrarys = true;
#endif

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;

std::int64_t entriesOf(const char* directory) {
    std::int64_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
    return count;
}

struct Usage {
    std::int64_t threads;
    std::int64_t files;
    std::int64_t residentBytes;
    std::int64_t heapBytes;
};

Usage usage() {
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    const struct mallinfo2 heap = mallinfo2();
    return {entriesOf("/proc/self/task"), entriesOf("/proc/self/fd"), resident * sysconf(_SC_PAGESIZE),
            static_cast<std::int64_t>(heap.uordblks + heap.hblkhd)};
}

class Cycles : public BoundaryTest {
  protected:
    void cycle() {
        ASSERT_TRUE(init(rows, cols, 1, 8, cycles_ % 2));
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        GuardedFrame third = frame(40, 16, rows, cols, 1);
        EXPECT_EQ(stitch(first.get(), second.get(), 0).result, 0);
        EXPECT_EQ(stitchExpecting(nullptr, third.get(), 1, 1, 20, 8).result, 0);
        EXPECT_EQ(stitch(nullptr, nullptr, 1).result, -1);
        if (cycles_ % 3 == 0) {
            EXPECT_TRUE(init(rows, cols, 1));
        }
        EXPECT_TRUE(uinitJoint());
        ++cycles_;
    }

    int cycles_ = 0;
};

TEST_F(Cycles, OfInitFramesUninitLeaveNothingBehind) {
    for (int i = 0; i < 10; ++i) cycle();
    malloc_trim(0);
    const Usage before = usage();
    for (int i = 0; i < 100 && !HasFailure(); ++i) cycle();
    malloc_trim(0);
    const Usage after = usage();
    EXPECT_LE(after.threads, before.threads + 1);  // the last one joined may be listed for a moment longer
    EXPECT_EQ(after.files, before.files);
    if (memoryIsTheLibrarys) {
        EXPECT_LE(after.heapBytes - before.heapBytes, 4096);
        EXPECT_LE(after.residentBytes - before.residentBytes, 1 << 20);
    }
    std::printf("resident %+lld bytes, heap %+lld bytes\n",
                static_cast<long long>(after.residentBytes - before.residentBytes),
                static_cast<long long>(after.heapBytes - before.heapBytes));
}

}  // namespace
}  // namespace brantel::test
