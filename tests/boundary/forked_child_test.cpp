// Children of a process that has a mosaic, and threads that are cancelled in a call.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "boundary/fixture.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;
constexpr unsigned patience = 20;  // seconds until a child counts as hanging

class ForkedChild : public BoundaryTest {
  protected:
    static StitchOutputs stitchPair() {
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        return stitch(first.get(), second.get(), 0);
    }
    static StitchOutputs stitchNext() {
        GuardedFrame next = frame(40, 16, rows, cols, 1);
        return stitch(nullptr, next.get(), 1);
    }

    /// Runs check() in a forked child; true when it returned true there in time.
    template <class Check>
    static bool inChild(Check&& check) {
#if defined(__SANITIZE_ADDRESS__)
        // Its allocator does not survive a fork while another thread is in it: the workers sleep by then.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
#endif
        const pid_t child = fork();
        if (child == 0) {
            alarm(patience);
            _exit(check() ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
};

TEST_F(ForkedChild, IsRefusedItsFramesAndTornDownWithoutWaiting) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    ASSERT_EQ(stitchPair().result, 0);
    EXPECT_TRUE(inChild([] {
        if (stitchNext().result != -1 || stitchPair().result != -1) return false;
        const Lines lines = captureLines([] { uinitJoint(); });
        return lines == Lines{"pthread_join model_pid failed", "pthread_join match_pid failed"};
    }));
    EXPECT_EQ(stitchNext().result, 0) << "the parent goes on";
}

TEST_F(ForkedChild, OfAnUninitialisedProcessStartsLikeAnyOther) {
    EXPECT_TRUE(inChild([] { return init(rows, cols, 1, 8) && stitchPair().result == 0 && uinitJoint(); }));
    ASSERT_TRUE(init(rows, cols, 1, 8));
    uinitJoint();
    EXPECT_TRUE(inChild([] { return init(rows, cols, 1, 8) && stitchPair().result == 0; }));
}

#if !defined(__SANITIZE_THREAD__)  // which lets no forked child start threads

TEST_F(ForkedChild, StartsAfreshWithItsOwnInitialisation) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    ASSERT_EQ(stitchPair().result, 0);
    EXPECT_TRUE(inChild([] {
        if (!init(rows, cols, 1, 8)) return false;
        if (stitchNext().result != -1) return false;  // there is no mosaic yet
        if (stitchPair().result != 0 || stitchNext().result != 0) return false;
        const Lines lines = withoutStartLine(captureLines([] { uinitJoint(); }));
        return lines == Lines{"pthread_join model_pid success", "pthread_join match_pid success"};
    }));
    EXPECT_EQ(stitchNext().result, 0);
}

TEST_F(ForkedChild, OfAChildAndSeveralOneAfterTheOtherDoNotHang) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    ASSERT_EQ(stitchPair().result, 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(inChild([] {
            if (!init(rows, cols, 1, 8) || stitchPair().result != 0) return false;
            return inChild(
                [] { return stitchNext().result == -1 && init(rows, cols, 1, 8) && uinitJoint(); });
        }));
    EXPECT_EQ(stitchNext().result, 0);
}

#endif

/// Stitches until it is cancelled; the calls that came to their end are counted.
struct Stitching {
    GuardedBuffer<std::uint8_t>* first;
    GuardedBuffer<std::uint8_t>* second;
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};
    StitchFlags last{};  // outputs are complete whenever a call ended
};

void* stitchForEver(void* argument) {
    auto& stitching = *static_cast<Stitching*>(argument);
    for (;;) {
        ++stitching.begun;
        stichingImagedJoint(stitching.first->data(), stitching.second->data(), 0, 1, 0, 0, false, nullptr,
                            nullptr, nullptr, &stitching.last);
        ++stitching.ended;
    }
    return nullptr;
}

TEST_F(ForkedChild, HasAParentWhoseThreadMayBeCancelledInACall) {
    ASSERT_TRUE(init(rows, cols, 1, 8));
    for (int round = 0; round < 20; ++round) {
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        Stitching stitching{first.get(), second.get()};
        pthread_t thread{};
        ASSERT_EQ(pthread_create(&thread, nullptr, stitchForEver, &stitching), 0);
        while (stitching.begun < 1 + round % 3) usleep(100);
        usleep(static_cast<useconds_t>(round * 150));
        ASSERT_EQ(pthread_cancel(thread), 0);
        void* result = nullptr;
        ASSERT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(stitching.begun, stitching.ended + 1) << "it ends on the way out of a call";
        EXPECT_EQ(stitching.last.offset.x, 20) << "whose work was finished";
        EXPECT_EQ(stitchPair().result, 0) << "and the mosaic serves the next one";
    }
}

}  // namespace
}  // namespace brantel::test
