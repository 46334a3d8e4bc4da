// Bringing the CUDA backend up and down: gates, lines, buffers.
#include <gtest/gtest.h>

#include <algorithm>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using emulated_cuda::Allocation;
using emulated_cuda::Faults;
using Lines = std::vector<std::string>;

const std::string memoryLabel = "\xCF\xD4\xB4\xE6\xB4\xF3\xD0\xA1\xA3\xBA";

class CudaSetup : public testing::Test {
  protected:
    void SetUp() override { emulated_cuda::reset(); }
    void TearDown() override {
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        tearDown();
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
    }

    void tearDown() {
        captureOutput([&] { engine.uinitJoint(); });
    }
    bool init(const FrameSetup& setup, Lines* lines = nullptr, Lines* debug = nullptr) {
        bool done = false;
        Lines written;
        const Lines debugged =
            captureDebugLines([&] { written = captureLines([&] { done = engine.initJoint(setup, {}); }); });
        if (lines != nullptr) *lines = written;
        if (debug != nullptr) *debug = debugged;
        return done;
    }
    /// Nothing is left, without lines about the threads.
    void expectFailedTrial(const FrameSetup& setup, const std::string& reason) {
        Lines lines, debug;
        EXPECT_FALSE(init(setup, &lines, &debug));
        EXPECT_EQ(lines, (Lines{memoryLabel + "8192 MB", "CUDA trial failed: " + reason}));
        EXPECT_EQ(debug, Lines{});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        EXPECT_EQ(captureLines([&] { engine.uinitJoint(); }),
                  (Lines{"pthread_join cuda_one_pid failed", "pthread_join cuda_two_pid failed"}));
    }
    static Faults withDevices(std::vector<std::size_t> mib) {
        Faults faults;
        faults.deviceMiB = std::move(mib);
        return faults;
    }

    CudaEngine engine{processLogSink()};
};

constexpr FrameSetup small{60, 90, 3, 1, 20000, 20000};

TEST_F(CudaSetup, WithoutADeviceSaysSoAndStartsNothing) {
    emulated_cuda::setFaults(withDevices({}));
    Lines lines;
    EXPECT_FALSE(init(small, &lines));
    EXPECT_EQ(lines, Lines{"have no cuda device"});
    EXPECT_TRUE(emulated_cuda::allocations().empty());
    EXPECT_EQ(captureLines([&] { engine.uinitJoint(); }),
              (Lines{"pthread_join cuda_one_pid failed", "pthread_join cuda_two_pid failed"}));
}

TEST_F(CudaSetup, AFailingQueryIsNoDevice) {
    Faults faults;
    faults.countFails = true;
    emulated_cuda::setFaults(faults);
    Lines lines;
    EXPECT_FALSE(init(small, &lines));
    EXPECT_EQ(lines, Lines{"have no cuda device"});
}

TEST_F(CudaSetup, Exactly4096MiBSuffice) {
    emulated_cuda::setFaults(withDevices({4096}));
    Lines lines;
    EXPECT_TRUE(init(small, &lines));
    EXPECT_EQ(lines, Lines{memoryLabel + "4096 MB"});
}

TEST_F(CudaSetup, WithLessThan4096MiBTellsTheDebuggerAndAllocatesNothing) {
    emulated_cuda::setFaults(withDevices({4095}));
    Lines lines;
    Lines debug;
    EXPECT_FALSE(init(small, &lines, &debug));
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(debug, Lines{"cuda device memory to small"});
    EXPECT_TRUE(emulated_cuda::allocations().empty());
}

TEST_F(CudaSetup, EveryDeviceMustHaveEnough) {
    emulated_cuda::setFaults(withDevices({8192, 2048, 16384}));
    Lines lines;
    EXPECT_FALSE(init(small, &lines));
    EXPECT_EQ(lines, Lines{memoryLabel + "8192 MB"});
    emulated_cuda::setFaults(withDevices({8192, 16384}));
    EXPECT_TRUE(init(small, &lines));
    EXPECT_EQ(lines, (Lines{memoryLabel + "8192 MB", memoryLabel + "16384 MB"}));
}

/// "kind bytes" of each allocation, in order.
Lines allocationList() {
    Lines list;
    for (const Allocation& allocation : emulated_cuda::allocations())
        list.push_back(allocation.kind + std::to_string(allocation.bytes));
    return list;
}

void append(Lines& list, std::size_t count, char kind, std::size_t bytes) {
    list.insert(list.end(), count, kind + std::to_string(bytes));
}

Lines expectedAllocations(std::size_t rows, std::size_t cols, std::size_t channels) {
    const std::size_t p = rows * cols, q = (rows + 2) * (cols + 2), r = (rows + 4) * (cols + 4);
    Lines list;
    append(list, 1, 'd', p * channels);
    append(list, 2, 'h', p * channels);
    append(list, 2, 'd', p * channels);
    append(list, 4, 'd', p);
    append(list, 2, 'd', p * channels);
    append(list, 2, 'd', p);
    append(list, 4, 'd', q);
    append(list, 2, 'd', p + 1);  // a row range has one element behind its last row
    append(list, 2, 'd', 4 * p);
    append(list, 1, 'd', p);
    append(list, 6, 'd', 4 * p);
    append(list, 1, 'd', p * channels);
    append(list, 2, 'd', p);
    append(list, 4, 'd', r);
    append(list, 4, 'd', 4 * r);
    if (cols % 2 != 0) append(list, 2, 'd', rows * (cols - 1));  // packed to an even width
    append(list, 1, 'd', 4 * p);
    // Three products at half size and the grey image with a row behind it, or a distance map.
    const std::size_t images = 3 * (rows / 2) * (cols / 2) + (p + cols + 3) / 4;
    append(list, 2, 'h', 4 * std::max(images, p));
    return list;
}

TEST_F(CudaSetup, AllocatesTheBuffersInOrder) {
    ASSERT_TRUE(init({61, 90, 3, 1, 20000, 20000}));
    EXPECT_EQ(allocationList(), expectedAllocations(61, 90, 3));
    tearDown();
    emulated_cuda::reset();
    ASSERT_TRUE(init({60, 91, 1, 1, 20000, 20000}));
    EXPECT_EQ(allocationList(), expectedAllocations(60, 91, 1));
}

TEST_F(CudaSetup, TeardownReportsFreesAndCanBeFollowedByASetup) {
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(init(small));
        EXPECT_GT(emulated_cuda::liveBlocks(), 0U);
        Lines lines;
        const Lines debug =
            captureDebugLines([&] { lines = captureLines([&] { EXPECT_TRUE(engine.uinitJoint()); }); });
        EXPECT_EQ(lines, (Lines{"pthread_join cuda_one_pid success", "pthread_join cuda_two_pid success"}));
        EXPECT_EQ(debug, Lines{"pthread_join out"});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
    }
}

TEST_F(CudaSetup, ASecondSetupKeepsBuffersAndThreads) {
    ASSERT_TRUE(init(small));
    const std::size_t blocks = emulated_cuda::liveBlocks();
    emulated_cuda::reset();
    ASSERT_TRUE(init(small));
    EXPECT_TRUE(emulated_cuda::allocations().empty());
    EXPECT_EQ(emulated_cuda::liveBlocks(), blocks);
}

TEST_F(CudaSetup, FramesLargerThanTheKeptBuffersAreRefused) {
    ASSERT_TRUE(init(small));
    ASSERT_TRUE(init({120, 180, 3, 1, 20000, 20000}));
    Frame frame(120 * 180 * 3, 100);
    const StitchCall call{frame.data(), frame.data(), 0, 1, {}, nullptr, nullptr, nullptr, nullptr};
    std::int32_t result = 0;
    EXPECT_EQ(captureLines([&] { result = engine.stichingImagedJoint(call); }),
              (Lines{"ptr is null", "stitchingImageOffsetCuda failed"}));
    EXPECT_EQ(result, -1);
}

TEST_F(CudaSetup, CanvasLimitsAreOnlyLowered) {
    ASSERT_TRUE(init({60, 90, 3, 1, 20000, 40000}));
    EXPECT_EQ(engine.limitA, 20000);
    EXPECT_EQ(engine.limitB, 30000);
    ASSERT_TRUE(init({60, 90, 3, 1, 25000, 30000}));
    EXPECT_EQ(engine.limitA, 20000);
    EXPECT_EQ(engine.limitB, 30000);
}

TEST_F(CudaSetup, DerivesTheCornerBudgetFromTheDensityLevel) {
    ASSERT_TRUE(init({60, 90, 3, 0, 20000, 20000}));
    EXPECT_EQ(engine.tuning.budget, 150);
    EXPECT_EQ(engine.tuning.cap, 1050);
}

TEST_F(CudaSetup, RefusesFramesThatTheKernelsCannotIndex) {
    for (const FrameSetup& setup :
         {FrameSetup{40000, 60000, 1, 1, 1, 1}, FrameSetup{27000, 27000, 3, 1, 1, 1},
          FrameSetup{0x7fffffff, 0x7fffffff, 3, 1, 1, 1}}) {
        Lines lines;
        EXPECT_FALSE(init(setup, &lines));
        EXPECT_EQ(lines, (Lines{memoryLabel + "8192 MB", "frame too large for the cuda kernels"}));
        EXPECT_TRUE(emulated_cuda::allocations().empty());
    }
}

TEST_F(CudaSetup, AnyMissingBufferEndsTheInitialisation) {
    constexpr FrameSetup odd{61, 91, 3, 1, 20000, 20000};
    ASSERT_TRUE(init(odd));
    const auto count = static_cast<int>(emulated_cuda::allocations().size());
    tearDown();
    for (int failing = 0; failing < count; ++failing) {
        Faults faults;
        faults.allocation = failing;
        emulated_cuda::setFaults(faults);
        expectFailedTrial(odd, "CUDA allocation failed with error 2");
    }
}

TEST_F(CudaSetup, ADeviceThatDoesNotWorkEndsTheInitialisation) {
    Faults refusing, losing, notCopying;
    refusing.kernel = "pretJudgeImageCh1Kernel";
    losing.lostLaunches = true;
    notCopying.copy = 1;
    for (const auto& [faults, reason] :
         {std::pair<Faults, std::string>{refusing, "CUDA kernel launch failed with error 9"},
          {losing, "a kernel did not run"},
          {notCopying, "CUDA copy to the host failed with error 719"}}) {
        emulated_cuda::setFaults(faults);
        expectFailedTrial(small, reason);
        emulated_cuda::setFaults({});
        ASSERT_TRUE(init(small)) << "a repaired device is tried again";
        emulated_cuda::setFaults(faults);
        expectFailedTrial(small, reason);  // also with everything there
    }
}

TEST_F(CudaSetup, CallsBeforeAndAfterAreRefused) {
    Frame frame(60 * 90 * 3, 100);
    const StitchCall call{frame.data(), frame.data(), 0, 1, {}, nullptr, nullptr, nullptr, nullptr};
    EXPECT_EQ(captureLines([&] { EXPECT_EQ(engine.stichingImagedJoint(call), -1); }),
              Lines{"stitchingImageOffsetCuda failed"});
    ASSERT_TRUE(init(small));
    tearDown();
    EXPECT_EQ(captureLines([&] { EXPECT_EQ(engine.stichingImagedJoint(call), -1); }),
              Lines{"stitchingImageOffsetCuda failed"});
}

TEST(CudaChoice, ASuitableDeviceIsChosenFirst) {
    emulated_cuda::reset();
    bool ready = false;
    const Lines debug = captureDebugLines([&] {
        captureOutput([&] {
            SessionOptions options{60, 90, 3};
            options.forceCpu = false;
            Session session(options);
            ready = session.ready();
            Frame frame(60 * 90 * 3, 100);
            session.start(frame, frame);
        });
    });
    EXPECT_TRUE(ready);
    const auto has = [&](const char* line) { return std::count(debug.begin(), debug.end(), line); };
    EXPECT_EQ(has("use CUDA"), 1);
    EXPECT_EQ(has("stichingImagedJointCuda in"), 1);
    EXPECT_EQ(has("stichingImagedJointCuda failed"), 1);
    EXPECT_EQ(has("use CPU"), 0);
}

TEST(CudaChoice, TheOverrideFileLeavesTheDeviceAlone) {
    emulated_cuda::reset();
    captureOutput([] { EXPECT_TRUE(Session({60, 90, 3}).ready()); });
    EXPECT_EQ(emulated_cuda::deviceQueries(), 0);
}

TEST(CudaChoice, UnusableFramesNeverReachTheDevice) {
    emulated_cuda::reset();
    for (SessionOptions options :
         {SessionOptions{0, 90, 1}, SessionOptions{60, -90, 1}, SessionOptions{60, 90, 2}}) {
        options.forceCpu = false;
        captureOutput([&] { EXPECT_FALSE(Session(options).ready()); });
    }
    EXPECT_EQ(emulated_cuda::deviceQueries(), 0);
    EXPECT_TRUE(emulated_cuda::allocations().empty());
}

// A session that could only fail.
TEST(CudaChoice, AfterAFailedTrialTheProcessorStitches) {
    Faults faults;
    faults.allocation = 5;
    emulated_cuda::setFaults(faults);
    const Picture picture = makePicture(Texture::fine, 300, 400, 3, 8);
    Lines lines;
    const Lines debug = captureDebugLines([&] {
        lines = captureLines([&] {
            SessionOptions options{160, 210, 3};
            options.forceCpu = false;
            Session session(options);
            EXPECT_TRUE(session.ready());
            Frame first = picture.window(20, 20, 160, 210);
            EXPECT_EQ(session.start(first, picture.window(80, 70, 160, 210)).result, 0);
        });
    });
    EXPECT_EQ(std::count(debug.begin(), debug.end(), "use CUDA"), 0);
    EXPECT_EQ(std::count(debug.begin(), debug.end(), "use CPU"), 1);
    EXPECT_EQ(
        std::count(lines.begin(), lines.end(), "CUDA trial failed: CUDA allocation failed with error 2"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "pthread_join cuda_one_pid success"), 0);
    EXPECT_TRUE(emulated_cuda::launches().empty());
    EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
}

TEST(CudaChoice, WithoutADeviceTheProcessorStitches) {
    Faults faults;
    faults.countFails = true;
    emulated_cuda::setFaults(faults);
    const Lines debug = captureDebugLines([] {
        captureOutput([] {
            SessionOptions options{60, 90, 3};
            options.forceCpu = false;
            EXPECT_TRUE(Session(options).ready());
        });
    });
    EXPECT_EQ(std::count(debug.begin(), debug.end(), "use CPU"), 1);
}

}  // namespace
}  // namespace brantel::test
