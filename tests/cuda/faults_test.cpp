// The CUDA backend when a worker thread cannot be created, and when the host has no memory for its arrays.
#include <gtest/gtest.h>

#include <map>
#include <new>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "faults/fault_injection.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::int32_t rows = 60;
constexpr std::int32_t cols = 90;
constexpr FrameSetup setup{rows, cols, 3, 1, 20000, 20000};
const std::string memoryLine =
    "\xCF\xD4\xB4\xE6\xB4\xF3\xD0\xA1\xA3\xBA"
    "8192 MB";

class CudaFaults : public testing::Test {
  protected:
    void SetUp() override { emulated_cuda::reset(); }
    void TearDown() override {
        tearDown();
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
    }
    void tearDown() {
        captureOutput([&] { engine.uinitJoint(); });
    }
    std::int32_t stitch() {
        Frame frame(rows * cols * 3, 100);
        std::int32_t result = 0;
        captureOutput([&] {
            result = engine.stichingImagedJoint(
                {frame.data(), frame.data(), 0, 1, {}, nullptr, nullptr, nullptr, nullptr});
        });
        return result;
    }
    /// What the initialisation writes while the number-th thread cannot be created.
    Lines linesWithoutThread(int number) {
        return captureLines([&] {
            const FailingThread fault(number);
            EXPECT_FALSE(engine.initJoint(setup, {}));
        });
    }
    template <class Prepare, class Step>
    std::map<std::string, int> linesOfEachFault(Prepare&& prepare, Step&& step);

    CudaEngine engine{processLogSink()};
};

TEST_F(CudaFaults, WithoutTheFirstThreadInitialisationSaysSo) {
    EXPECT_EQ(linesWithoutThread(1), (Lines{memoryLine, "ALG_template_model_init_process_pthread faled"}));
    EXPECT_TRUE(emulated_cuda::allocations().empty());
    EXPECT_EQ(stitch(), -1);
    EXPECT_EQ(captureLines([&] { EXPECT_TRUE(engine.uinitJoint()); }),
              (Lines{"pthread_join cuda_one_pid failed", "pthread_join cuda_two_pid failed"}));
}

TEST_F(CudaFaults, WithoutTheSecondThreadTheFirstIsLeftRunning) {
    EXPECT_EQ(linesWithoutThread(2), (Lines{memoryLine, "ALG_search_match_init_process_pthread faled"}));
    EXPECT_TRUE(emulated_cuda::allocations().empty());
    EXPECT_EQ(stitch(), -1);
    EXPECT_EQ(captureLines([&] { EXPECT_TRUE(engine.uinitJoint()); }),
              (Lines{"pthread_join cuda_one_pid success", "pthread_join cuda_two_pid failed"}));
}

TEST_F(CudaFaults, AfterAThreadWasRefusedTheNextInitialisationWorks) {
    for (const int number : {1, 2}) {
        linesWithoutThread(number);
        EXPECT_EQ(captureLines([&] { EXPECT_TRUE(engine.initJoint(setup, {})); }), Lines{memoryLine});
        EXPECT_EQ(captureLines([&] { engine.uinitJoint(); }),
                  (Lines{"pthread_join cuda_one_pid success", "pthread_join cuda_two_pid success"}));
    }
}

/// Lets every allocation of a step on the host fail in turn and counts the lines that this brings about, each
/// case as one string. Those of the emulated device are among them: what they throw is not the backend's.
template <class Prepare, class Step>
std::map<std::string, int> CudaFaults::linesOfEachFault(Prepare&& prepare, Step&& step) {
    std::map<std::string, int> counts;
    for (std::int64_t number = 1; number < 2000; ++number) {
        prepare();
        FailingAllocation fault(number, FaultLength::once, FaultThreads::all);
        bool threw = false;
        const Lines lines = captureLines([&] {
            fault.during([&] {
                try {
                    step();
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
                return 0;
            });
        });
        if (!FailingAllocation::struck()) break;
        std::string all;
        for (const std::string& line : lines) all += line + "\n";
        if (!threw) ++counts[all];
        tearDown();
    }
    return counts;
}

TEST_F(CudaFaults, HostArraysThatCannotBeAllocatedEndTheInitialisation) {
    bool ready = true;
    auto counts = linesOfEachFault([] { emulated_cuda::reset(); },
                                   [&] {
                                       ready = engine.initJoint(setup, {});
                                       EXPECT_EQ(ready, !FailingAllocation::struck());
                                   });
    // The emulated device's own, at the kernel of the trial.
    EXPECT_EQ(counts.erase(memoryLine + "\nCUDA trial failed: std::bad_alloc\n"), 1U);
    EXPECT_EQ(counts, (std::map<std::string, int>{{memoryLine + "\nnew DescribleSymbol failed\n", 2},
                                                  {memoryLine + "\nnew Coonervalue failed\n", 1}}));
    EXPECT_EQ(stitch(), -1);
}

TEST_F(CudaFaults, ScratchImagesThatCannotBeAllocatedEndTheFrame) {
    Frame frame(rows * cols * 3, 100);
    const auto counts = linesOfEachFault(
        [&] {
            emulated_cuda::reset();
            captureOutput([&] { ASSERT_TRUE(engine.initJoint(setup, {})); });
        },
        [&] {
            engine.stichingImagedJoint(
                {frame.data(), frame.data(), 0, 1, {}, nullptr, nullptr, nullptr, nullptr});
        });
    for (const char* line : {"new resiz_One failed", "new resiz_Two failed"})
        EXPECT_EQ(counts.count(line + std::string("\nstitchingImageOffsetCuda failed\n")), 1U) << line;
}

}  // namespace
}  // namespace brantel::test
