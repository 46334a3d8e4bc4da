// The creation of a worker thread fails.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "faults/fault_injection.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/scratch_directory.h"
#include "support/session.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 160;
constexpr std::int32_t cols = 240;
using Lines = std::vector<std::string>;

std::size_t threadCount() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

/// A joined thread may be listed for a moment longer.
bool threadsBecome(std::size_t count) {
    for (int i = 0; i < 2000 && threadCount() != count; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return threadCount() == count;
}

class ThreadCreation : public testing::Test {
  protected:
    ThreadCreation() {
        directory_.write("stitch.txt", "1");
        std::thread([] {}).join();  // with the first one a sanitizer starts a thread of its own
    }
    ~ThreadCreation() override { uinitJoint(); }

    static bool init() { return initJoint(rows, cols, 1, 1, 20000, 20000, 1, 0); }

    /// What initJoint writes while the number-th thread cannot be created.
    static Lines linesOfFailedInit(int number) {
        return captureLines([&] {
            const FailingThread fault(number);
            EXPECT_FALSE(init());
        });
    }

    static int stitchTwoFrames() {
        const Picture picture = makePicture(Texture::fine, rows, 2 * cols, 1, 3);
        Frame first = picture.window(0, 0, rows, cols);
        Frame second = picture.window(120, 0, rows, cols);
        return stichingImagedJoint(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr, nullptr,
                                   nullptr);
    }

    ScratchDirectory directory_;
};

TEST_F(ThreadCreation, FirstFailsAndInitialisationSaysSo) {
    const std::size_t before = threadCount();
    EXPECT_EQ(linesOfFailedInit(1), Lines{"ALG_template_model_init_process_pthread faled"});
    EXPECT_TRUE(threadsBecome(before));
    EXPECT_EQ(stitchTwoFrames(), -1);
}

TEST_F(ThreadCreation, SecondFailsAndTheFirstThreadIsLeftRunning) {
    const std::size_t before = threadCount();
    EXPECT_EQ(linesOfFailedInit(2), Lines{"ALG_search_match_init_process_pthread faled"});
    EXPECT_TRUE(threadsBecome(before + 1));
    EXPECT_EQ(stitchTwoFrames(), -1);
    EXPECT_EQ(captureLines([] { EXPECT_TRUE(uinitJoint()); }),
              (Lines{"pthread_join model_pid success", "pthread_join match_pid failed"}));
    EXPECT_TRUE(threadsBecome(before));
}

TEST_F(ThreadCreation, NextInitialisationWorksWithTwoThreads) {
    const std::size_t before = threadCount();
    for (const int number : {1, 2}) {
        linesOfFailedInit(number);
        ASSERT_TRUE(init());
        EXPECT_TRUE(threadsBecome(before + 2));
        EXPECT_EQ(stitchTwoFrames(), 0);
        EXPECT_EQ(captureLines([] { uinitJoint(); }).back(), "pthread_join match_pid success");
        EXPECT_TRUE(threadsBecome(before));
    }
}

TEST_F(ThreadCreation, FailsNotWhenTheThreadsRunAlready) {
    ASSERT_TRUE(init());
    const FailingThread fault(1);
    EXPECT_TRUE(init()) << "a second initialisation keeps the threads of the first";
    EXPECT_EQ(stitchTwoFrames(), 0);
}

}  // namespace
}  // namespace brantel::test
