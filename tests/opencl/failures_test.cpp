// OpenCL calls that fail in the middle of a stream: no hang, no crash, the mosaic as it was.
#include <algorithm>
#include <tuple>

#include "opencl/stream_machine.h"

namespace brantel::test {

namespace {

class OpenClFailures : public StreamMachine {
  protected:
    /// A mosaic of two frames, the next one still to come.
    void openStream(std::int32_t channels, std::int32_t mainMode = 1) {
        open(channels, mainMode);
        before_ = start(frameAt(20, 20), frameAt(120, 20)).out;
        ASSERT_EQ(before_.result, 0);
        hash_ = canvasHash(before_);
        forget();
    }
    CallReport third() { return next(frameAt(220, 20)); }

    void expectRefused(const CallReport& report, const std::string& what) const {
        EXPECT_EQ(report.out.result, -1) << what;
        EXPECT_EQ(canvasHash(report.out), hash_) << what;
        EXPECT_EQ(report.out.flags.frameX, before_.flags.frameX) << what;
        EXPECT_EQ(report.out.maxCorner.x, before_.maxCorner.x) << what;
        expectNothingNullWasUsed();
    }
    void expectMerged(const CallReport& report, const std::string& what) const {
        EXPECT_EQ(report.out.result, 0) << what;
        EXPECT_EQ(report.out.flags.frameX, before_.flags.frameX + 100) << what;
    }
    void expectNothingNullWasUsed() const {
        EXPECT_EQ(callsOf("NULL KERNEL"), 0U);
        EXPECT_EQ(callsOf("NULL ARGUMENT"), 0U);
    }

    /// The threads end where the frame cannot be made grey.
    static bool endsThread(const std::string& kernel) {
        return kernel == "rgb2GaryKernel" || kernel == "rgb2GaryKernel2";
    }

    /// Every kernel that a frame of the stream runs, once each.
    Lines kernelsOfAFrame(std::int32_t channels, std::int32_t mainMode) {
        openStream(channels, mainMode);
        third();
        Lines names = traceOf("clEnqueueNDRangeKernel");
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        renew();
        return names;
    }

  private:
    /// Of the part around the placed frames.
    static std::uint64_t canvasHash(const StitchOutputs& out) {
        std::uint64_t hash = 0;
        const auto start = static_cast<std::size_t>(out.minCorner.x) * out.mosaic.channels();
        const auto length = static_cast<std::size_t>(3 * cols) * out.mosaic.channels();
        for (std::int32_t y = out.minCorner.y - 10; y < out.maxCorner.y + 10; ++y)
            hash = 31 * hash + hashOf(out.mosaic.ptr(y) + start, length);
        return hash;
    }

    StitchOutputs before_;
    std::uint64_t hash_ = 0;
};

/// (channels, main mode)
class OpenClKernelFailures : public OpenClFailures,
                             public ::testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(OpenClKernelFailures, AnyKernelThatCannotBeEnqueuedRefusesTheFrameAndOnlyIt) {
    const auto [channels, mainMode] = GetParam();
    const Lines kernels = kernelsOfAFrame(channels, mainMode);
    EXPECT_EQ(kernels.size(), (channels == 3 ? 26U : 24U) - (mainMode == 1 ? 0U : channels == 3 ? 1U : 2U));
    openStream(channels, mainMode);
    for (const std::string& kernel : kernels) {
        if (endsThread(kernel)) continue;
        fail("clEnqueueNDRangeKernel:" + kernel);
        expectRefused(third(), kernel);
    }
    fail("");
    expectMerged(third(), "after all failures");
}
INSTANTIATE_TEST_SUITE_P(ChannelsAndModes, OpenClKernelFailures,
                         ::testing::Combine(::testing::Values(1, 3), ::testing::Values(0, 1)));

TEST_F(OpenClFailures, OverlapsThatCannotBeBroughtToOrFromTheDeviceRefuseTheFrame) {
    for (const std::int32_t channels : {1, 3}) {
        openStream(channels, 0);
        // Of the 200 columns and 216 rows of the overlap: the cut of one channel, the grey image.
        const std::string bytes = std::to_string((cols - 100) * rows);
        for (const std::string function : {"clEnqueueWriteBuffer:", "clEnqueueMapBuffer:"}) {
            if (channels == 3 && function == "clEnqueueWriteBuffer:") continue;
            fail(function + bytes);
            expectRefused(third(), function);
        }
        fail("");
        expectMerged(third(), "after all failures");
        renew();
    }
}

TEST_F(OpenClFailures, PrejudgingFailuresHaveTheirLines) {
    openStream(1);
    fail("clEnqueueNDRangeKernel:pretJudgeImageCh1Kernel");
    EXPECT_EQ(third().output, Lines{"failed pretJudgeCh1Kernel"});
    renew();
    openStream(3);
    fail("clEnqueueNDRangeKernel:pretJudgeImageCh3Kernel");
    EXPECT_EQ(third().output, Lines{"failed pretJudgeCh3Kernel"});
}

TEST_F(OpenClFailures, WithOneChannelTheSecondFramesPrejudgingHasALineOfItsOwn) {
    openStream(1);
    Frame frame = frameAt(220, 20);
    StitchCall call{};
    call.currentFrame = frame.data();
    call.continueFlag = 1;
    call.scale = 1;
    engine().currentDesc = {0, 1, 0, 0};
    EXPECT_FALSE(engine().stitchingImageOffset(call));
    EXPECT_EQ(lines().take().outputLines(), Lines{"failed pretJudgeCh1Kernell"});
}

TEST_F(OpenClFailures, AFrameThatCannotBeMadeGreyEndsItsThread) {
    for (const char* kernel : {"rgb2GaryKernel", "rgb2GaryKernel2"}) {
        ASSERT_TRUE(endsThread(kernel));
        openStream(3);
        fail(std::string("clEnqueueNDRangeKernel:") + kernel);
        const CallReport report = third();
        expectRefused(report, kernel);
        EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "failed rgb2GaryUcharKernel"), 1);
        fail("");
        for (int i = 0; i < 3; ++i) expectRefused(third(), kernel);
        // A new initialisation starts a new thread.
        ASSERT_TRUE(init({rows, cols, 3, 1, 20000, 20000}).ready);
        EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0) << kernel;
        renew();
    }
}

TEST_F(OpenClFailures, TearDownJoinsAThreadThatHasEnded) {
    openStream(3);
    fail("clEnqueueNDRangeKernel:rgb2GaryKernel");
    expectRefused(third(), "model thread");
    EXPECT_EQ(tearDownLines(), (Lines{"pthread_join one_pidCL success", "pthread_join two_pidCL success"}));
}

TEST_F(OpenClFailures, AFrameThatCannotBeWrappedEndsBothThreads) {
    openStream(1);
    fail("clCreateBuffer(host)");
    const CallReport report = third();
    expectRefused(report, "wrap");
    EXPECT_EQ(report.output, Lines{"failed pretJudgeCh1Kernel"});  // prejudging comes before the threads
    EXPECT_FALSE(engine().imageMosaicFun());
    EXPECT_EQ(lines().take().debug,
              (Lines{"failed clEnqueueReadBuffer111", "failed clEnqueueReadBuffer111"}));
    fail("");
    expectRefused(third(), "both threads ended");
}

TEST_F(OpenClFailures, AFrameThatCannotBeMappedIsRefused) {
    openStream(3);
    fail("clEnqueueMapBuffer:" + std::to_string(rows * cols * 3));
    const CallReport report = third();
    expectRefused(report, "map");
    EXPECT_EQ(report.output, Lines{"failed clEnqueueReadBuffer111"});
    fail("");
    expectMerged(third(), "map");
}

TEST_F(OpenClFailures, OtherMapsThatFailRefuseTheFrame) {
    // Grey image or gradient product (four bytes for a quarter of the pixels), weight mask.
    for (const std::int32_t bytes : {rows * cols, rows * cols * 4}) {
        openStream(3);
        fail("clEnqueueMapBuffer:" + std::to_string(bytes));
        expectRefused(third(), std::to_string(bytes));
        fail("");
        expectMerged(third(), std::to_string(bytes));
        renew();
    }
}

TEST_F(OpenClFailures, AFailedUnmapIsReportedForTheThirdProductOnlyAndStopsNothing) {
    openStream(1);
    fail("clEnqueueUnmapMemObject");
    const CallReport report = third();
    expectMerged(report, "unmap");
    EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "errNum failed"), 2);  // one per thread
}

TEST_F(OpenClFailures, BuffersThatCouldNotBeMadeAreNeverUsed) {
    for (const std::int32_t channels : {1, 3}) {
        fail("clCreateBuffer");
        open(channels);
        fail("");
        EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, -1);
        expectNothingNullWasUsed();
        renew();
    }
}

TEST_F(OpenClFailures, BlendingWithoutItsMaskKernelIsRefused) {
    for (const std::int32_t channels : {1, 3}) {
        fail("clCreateKernel:rgb2GaryFloatTwoCh1Kernel;clCreateKernel:rgb2GaryFloatTwoCh3Kernel");
        open(channels);
        fail("");
        const CallReport report = start(frameAt(20, 20), frameAt(120, 20));
        EXPECT_EQ(report.out.result, -1);
        EXPECT_EQ(report.debug.back(),
                  channels == 1 ? "failed rgb2GaryFloatTwoCh1Kernel" : "failed rgb2GaryFloatTwoCh3Kernel");
        expectNothingNullWasUsed();
        renew();
    }
}

TEST_F(OpenClFailures, ANewMosaicThatBreaksOffLeavesTheOldOne) {
    openStream(3);
    fail("clEnqueueNDRangeKernel:findGradSquareCrossTermsKernel");
    expectRefused(start(frameAt(200, 100), frameAt(100, 100)), "new mosaic");
    fail("");
    expectMerged(third(), "old mosaic");
}

}  // namespace

}  // namespace brantel::test
