// A device that fails in the middle of a stream: -1 and a line, the mosaic as it was, and the stream goes on.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "cuda/emulated_cuda.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using emulated_cuda::Faults;
using Lines = std::vector<std::string>;

constexpr std::int32_t rows = 160;
constexpr std::int32_t cols = 210;

struct Shot {
    StitchOutputs outputs;
    Lines lines;
    std::uint64_t mosaicHash = 0;
};

/// Of everything that was placed.
std::uint64_t placedHash(const StitchOutputs& out) {
    if (out.mosaic.empty()) return 0;
    const cv::Mat placed =
        out.mosaic(cv::Range(out.minCorner.y, out.maxCorner.y), cv::Range(out.minCorner.x, out.maxCorner.x))
            .clone();
    return hashOf(placed.data, placed.total() * placed.elemSize());
}

/// (main mode, channels)
class CudaFailures : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
  protected:
    void SetUp() override {
        emulated_cuda::reset();
        const std::int32_t channels = std::get<1>(GetParam());
        const Picture picture = makePicture(Texture::fine, 400, 700, channels, 8);
        for (int i = 0; i < 4; ++i) frames_.push_back(picture.window(20 + 60 * i, 20 + 50 * i, rows, cols));
        SessionOptions options{rows, cols, channels};
        options.mainMode = std::get<0>(GetParam());
        options.forceCpu = false;
        captureOutput([&] { session_ = std::make_unique<Session>(options); });
        ASSERT_TRUE(session_->ready());
    }
    void TearDown() override {
        captureOutput([&] { session_.reset(); });
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
    }

    Shot start() {
        return shot([&] { return session_->start(frames_[0], frames_[1]); });
    }
    Shot next(std::size_t i) {
        return shot([&] { return session_->next(frames_[i]); });
    }
    /// The undisturbed stream's last outputs.
    Shot wholeStream() {
        start();
        next(2);
        return next(3);
    }
    /// A failed call: told, and the mosaic as before.
    static void expectBrokenOff(const Shot& failed, const Shot& before, const std::string& what) {
        EXPECT_EQ(failed.outputs.result, -1) << what;
        const bool told = std::any_of(failed.lines.begin(), failed.lines.end(), [](const std::string& line) {
            return line.find("CUDA") != std::string::npos &&
                   line.find("failed with error") != std::string::npos;
        });
        EXPECT_TRUE(told) << what;
        EXPECT_EQ(failed.mosaicHash, before.mosaicHash) << what;
        EXPECT_EQ(failed.outputs.flags.frameX, before.outputs.flags.frameX) << what;
        EXPECT_EQ(failed.outputs.flags.frameY, before.outputs.flags.frameY) << what;
    }
    static void expectSame(const Shot& a, const Shot& b, const std::string& what) {
        EXPECT_EQ(a.outputs.result, b.outputs.result) << what;
        EXPECT_EQ(a.mosaicHash, b.mosaicHash) << what;
        EXPECT_EQ(a.outputs.flags.frameX, b.outputs.flags.frameX) << what;
        EXPECT_EQ(a.outputs.flags.frameY, b.outputs.flags.frameY) << what;
    }

    std::unique_ptr<Session> session_;

  private:
    static Shot shot(const std::function<StitchOutputs()>& call) {
        Shot shot;
        shot.lines = captureLines([&] { shot.outputs = call(); });
        shot.mosaicHash = placedHash(shot.outputs);
        return shot;
    }

    std::vector<Frame> frames_;
};

TEST_P(CudaFailures, ARefusedKernelCostsOneFrame) {
    const Shot whole = wholeStream();
    EXPECT_EQ(whole.outputs.result, 0);
    emulated_cuda::reset();
    wholeStream();
    std::set<std::string> used;
    for (const emulated_cuda::Launch& launch : emulated_cuda::launches()) used.insert(launch.kernel);
    EXPECT_GE(used.size(), 12U);
    for (const std::string& kernel : used) {
        const Shot before = start();
        Faults faults;
        faults.kernel = kernel;
        emulated_cuda::setFaults(faults);
        expectBrokenOff(next(2), before, kernel);
        emulated_cuda::reset();
        next(2);
        expectSame(next(3), whole, kernel);
    }
}

TEST_P(CudaFailures, ARefusedRowRangeCostsOneFrame) {
    const Shot whole = wholeStream();
    const Shot before = start();
    Faults faults;
    faults.kernel = "getRowRangeKernel";
    emulated_cuda::setFaults(faults);
    session_->expect(60, 50);
    expectBrokenOff(next(2), before, faults.kernel);
    emulated_cuda::reset();
    session_->expectNothing();
    next(2);
    expectSame(next(3), whole, faults.kernel);
}

TEST_P(CudaFailures, ADeviceThatStopsCopyingCostsOneFrame) {
    const Shot whole = wholeStream();
    start();
    emulated_cuda::reset();
    next(2);
    const int copies = emulated_cuda::copies();
    EXPECT_GE(copies, 10);
    for (int failing = 0; failing < copies; ++failing) {
        const std::string what = "copy " + std::to_string(failing);
        const Shot before = start();
        Faults faults;
        faults.copy = failing;
        emulated_cuda::setFaults(faults);
        expectBrokenOff(next(2), before, what);
        emulated_cuda::reset();
        next(2);
        expectSame(next(3), whole, what);
    }
}

TEST_P(CudaFailures, ANewMosaicThatBreaksOffLeavesTheOldOne) {
    const Shot before = wholeStream();
    start();
    emulated_cuda::reset();
    start();
    const int copies = emulated_cuda::copies();
    const Shot old = wholeStream();
    EXPECT_EQ(old.mosaicHash, before.mosaicHash);
    for (int failing = 0; failing < copies; failing += 3) {
        Faults faults;
        faults.copy = failing;
        emulated_cuda::setFaults(faults);
        expectBrokenOff(start(), old, "copy " + std::to_string(failing));
    }
    emulated_cuda::reset();
    expectSame(wholeStream(), before, "afterwards");
}

INSTANTIATE_TEST_SUITE_P(ModesAndChannels, CudaFailures,
                         testing::Combine(testing::Values(0, 1), testing::Values(1, 3)));

}  // namespace
}  // namespace brantel::test
