// A hundred sessions one after the other leave nothing behind.
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "session/opened.h"

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

/// A life with everything in it: maps, a lost frame, frames that wait until the end.
void live(const Picture& picture) {
    brantel_settings settings = settingsFor(rows, cols);
    Opened session(settings);
    for (const std::int32_t x : {0, 70, 140, 600, 530, 210}) session.add(picture.window(x, 10, rows, cols));
    EXPECT_EQ(session.map(1).frames, 4);
    EXPECT_EQ(session.map(2).frames, 2);
    session.add(picture.window(620, 270, rows, cols));
    session.picture(1);
    EXPECT_EQ(brantel_session_begin_map(session.get()), BRANTEL_OK);
    session.add(picture.window(0, 0, rows, cols));
}

TEST(SessionCycles, LeaveNothingBehind) {
    const Picture picture = makePicture(Texture::fine, 400, 800, 1, 23);
    for (int i = 0; i < 10; ++i) live(picture);
    const Usage before;
    for (int i = 0; i < 100 && !HasFailure(); ++i) live(picture);
    const Usage after;
    EXPECT_LE(after.threads, before.threads + 1);  // the last one joined may be listed for a moment longer
    EXPECT_EQ(after.files, before.files);
    if (memoryIsTheLibrarys) {
        EXPECT_LE(after.heapBytes - before.heapBytes, 4096);
        EXPECT_LE(after.residentBytes - before.residentBytes, 1 << 20);
    }
}

}  // namespace
}  // namespace brantel::test
