// Growth where address space is short. In child processes, since a limit holds for all that follows.
#include <gtest/gtest.h>

#ifdef __linux__

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

#include "streams/straight_camera.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool addressSpaceIsOurs = false;  // the sanitizer's shadow takes most of it
#else
constexpr bool addressSpaceIsOurs = true;
#endif

namespace brantel::test {
namespace {

constexpr std::int64_t mebibyte = std::int64_t{1} << 20;

std::int64_t addressSpaceInUse() {
    long pages = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld", &pages) != 1) pages = -1;
    if (file != nullptr) std::fclose(file);
    return pages * sysconf(_SC_PAGESIZE);
}

/// From now on there are so many bytes left; negative: no limit.
void leaveAddressSpace(std::int64_t bytes) {
    rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    if (bytes >= 0) limit.rlim_cur = static_cast<rlim_t>(addressSpaceInUse() + bytes);
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
}

/// Runs body in a child process; its failed expectations fail the test.
void inAChild(const std::function<void()>& body) {
    if (!addressSpaceIsOurs) GTEST_SKIP() << "the sanitizer needs the address space";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

std::uint64_t hashWithoutLimit(std::int32_t frames) {
    StraightCamera camera;
    return hashOf(camera.scan(StraightCamera::step, 0, frames).mosaic);
}

TEST(GrowthInLimitedMemory, GivesTheSameMosaic) {
    const std::uint64_t free = hashWithoutLimit(40);
    for (const std::int64_t left : {180, 500, 3000})
        inAChild([&] {
            StraightCamera camera;
            camera.scan(StraightCamera::step, 0, 10);
            leaveAddressSpace(left * mebibyte);
            EXPECT_EQ(hashOf(camera.goOn(StraightCamera::step, 0, 30).mosaic), free) << left;
        });
}

TEST(GrowthInLimitedMemory, ThatIsRefusedLeavesTheMosaicAndGoesOnOnceThereIsRoom) {
    const std::uint64_t free = hashWithoutLimit(16);
    inAChild([&] {
        StraightCamera camera;
        const StitchOutputs before = camera.scan(StraightCamera::step, 0, 10);
        const std::uint64_t hash = hashOf(before.mosaic);
        leaveAddressSpace(20 * mebibyte);
        EXPECT_EQ(camera.tryToGoOn(StraightCamera::step, 0).result, -1);
        EXPECT_EQ(hashOf(before.mosaic), hash);
        leaveAddressSpace(-1);
        EXPECT_EQ(hashOf(camera.goOn(StraightCamera::step, 0, 6).mosaic), free);
    });
}

}  // namespace
}  // namespace brantel::test

#endif
