// The kernel and buffer tables: names, sizes, failure lines, releases.
#include <algorithm>
#include <iterator>

#include "opencl/fake_machine.h"

namespace brantel::test {

namespace {

enum class Channel { debug, output };

struct KernelLine {
    const char* name;
    Channel channel;
    const char* line;
};

const KernelLine kernelLines[] = {
    {"opencvcopyFilter2DBorderRowUhcarMode", Channel::debug,
     "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed"},
    {"opencvcopyFilter2DBorderColUcharMode", Channel::debug,
     "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed"},
    {"opencvFilter2DRowCalcUcharWin5Mode", Channel::debug,
     "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed"},
    {"opencvFilter2DColCalcUcharWin5Mode", Channel::debug,
     "clCreateKernel opencvFilter2DColCalcFloatWin5ModeKernel failed"},
    {"pretJudgeImageCh3Kernel", Channel::debug, "clCreateKernel pretJudgeCh3Kernel failed"},
    {"pretJudgeImageCh1Kernel", Channel::debug, "clCreateKernel pretJudgeCh1Kernel failed"},
    {"opencvInterLineARResizeDownCh3Kernel", Channel::debug,
     "clCreateKernel opencvInterLineARResizeCh3Kernel failed"},
    {"opencvInterLineARResizeDownCh1Kernel", Channel::debug,
     "clCreateKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvInterLineARResizeDownCh1Kernel2", Channel::debug,
     "clCreateKernel opencvInterLineARResizeCh1Kernel failed"},
    {"rgb2GaryKernel", Channel::debug, "rgb2GaryUcharKernel opencvInterLineARResizeCh1Kernel failed"},
    {"rgb2GaryKernel2", Channel::debug, "rgb2GaryUcharKernel opencvInterLineARResizeCh1Kernel failed"},
    {"rgb2GaryTwoKernel", Channel::debug, "rgb2GaryTwoUcharKernel opencvInterLineARResizeCh1Kernel failed"},
    {"rgb2GaryFloatTwoCh3Kernel", Channel::debug, nullptr},
    {"rgb2GaryFloatTwoCh1Kernel", Channel::debug, nullptr},
    {"findGradSquareCrossTermsKernel", Channel::debug,
     "findGradCrossTermsKernel opencvInterLineARResizeCh1Kernel failed"},
    {"findGradSquareCrossTermsKernel2", Channel::debug,
     "findGradSquareCrossTermsKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderRowUchar", Channel::debug,
     "opencvcopyFilter2DBorderRowUchar opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderColUchar", Channel::debug,
     "opencvcopyFilter2DBorderColUcharKernel opencvInterLineARResizeCh1Kernel failed"},
    {"absCalcKernel", Channel::debug, "absCalcUcharKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderRowFloat", Channel::debug,
     "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderRowFloat2", Channel::debug,
     "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderColFloat", Channel::debug,
     "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed"},
    {"opencvcopyFilter2DBorderColFloat2", Channel::output,
     "clCreateKernel opencvcopyFilter2DBorderColFloatKernel failed"},
    {"opencvFilter2DRowCalcFloatWin5", Channel::output,
     "clCreateKernel opencvFilter2DRowCalcFloatWin5 failed"},
    {"opencvFilter2DRowCalcFloatWin52", Channel::output,
     "clCreateKernel opencvFilter2DRowCalcFloatWin5 failed"},
    {"opencvFilter2DColCalcFloatWin5", Channel::output,
     "clCreateKernel opencvFilter2DColCalcFloatWin5Kernel failed"},
    {"opencvFilter2DColCalcFloatWin52", Channel::output,
     "clCreateKernel opencvFilter2DColCalcFloatWin5Kernel failed"},
    {"opencvcopyFilter2DTakeOutBoundFloat", Channel::output,
     "clCreateKernel opencvcopyFilter2DTakeOutBoundFloatKernel failed"},
    {"opencvcopyFilter2DTakeOutBoundFloat2", Channel::output,
     "clCreateKernel opencvcopyFilter2DTakeOutBoundFloatKernel failed"},
    {"opencvfilter2DCalcCharWin3Kernel", Channel::output,
     "clCreateKernel opencvfilter2DCalcCharWin3Kernel failed"},
    {"opencvcopyFilter2DTakeOutBoundUchar", Channel::output,
     "clCreateKernel opencvfilter2DCalcCharWin3Kernel failed"},
    {"getFusionImageKernelCh3", Channel::output, "clCreateKernel getFusionImageCh3Kernel failed"},
    {"getFusionImageKernelCh1", Channel::output, "clCreateKernel getFusionImageCh1Kernel failed"},
    {"getRowRange", Channel::output, "clCreateKernel getRowRangeKernel failed"},
    {"getRowRange2", Channel::output, "clCreateKernel getRowRange2Kernel failed"},
    {"getWeightImageKernel", Channel::output, "clCreateKernel getWeightImageClKernel failed"},
};

Lines kernelNames() {
    Lines names;
    for (const KernelLine& kernel : kernelLines) names.emplace_back(kernel.name);
    return names;
}

class OpenClTables : public FakeMachine {};

TEST_F(OpenClTables, KernelsAreCreatedByNameInTheirOrder) {
    ASSERT_TRUE(init().ready);
    EXPECT_EQ(traceOf("clCreateKernel"), kernelNames());
}

TEST_F(OpenClTables, BuffersOfA640x480GreyFrameHaveTheirSizesInTheirOrder) {
    ASSERT_TRUE(init({640, 480, 1, 1, 20000, 20000}).ready);
    Lines sizes;
    const auto add = [&](const char* size, int count) {
        std::fill_n(std::back_inserter(sizes), count, size);
    };
    add("307200", 2), add("311696", 4), add("307200", 1), add("1228800", 6), add("307200", 1);
    add("1228800", 2), add("307200", 1), add("1228800", 2), add("307200", 5), add("309444", 4);
    add("1228800", 2), add("307200", 4);
    EXPECT_EQ(sizes.size(), 34U);
    EXPECT_EQ(traceOf("clCreateBuffer"), sizes);
}

TEST_F(OpenClTables, OnlyTheFusedImageDependsOnTheChannels) {
    ASSERT_TRUE(init({50, 70, 1, 1, 20000, 20000}).ready);
    Lines grey = traceOf("clCreateBuffer");
    renew();
    forget();
    ASSERT_TRUE(init({50, 70, 3, 1, 20000, 20000}).ready);
    ASSERT_EQ(grey.size(), 34U);
    EXPECT_EQ(grey[31], "3500");
    grey[31] = "10500";
    EXPECT_EQ(traceOf("clCreateBuffer"), grey);
}

TEST_F(OpenClTables, ALackingKernelEndsCreationWithItsLine) {
    for (std::size_t i = 0; i < std::size(kernelLines); ++i) {
        const KernelLine& kernel = kernelLines[i];
        if (kernel.line == nullptr) continue;
        forget();
        fail(std::string("clCreateKernel:") + kernel.name);
        const InitReport report = init();
        EXPECT_FALSE(report.ready) << kernel.name;
        Lines debug{"stitchingImageOffsetCL in11111111111111111111111111111"};
        if (kernel.channel == Channel::debug) debug.emplace_back(kernel.line);
        debug.emplace_back("clCreateKernel createKernel failed");
        EXPECT_EQ(report.debug, debug) << kernel.name;
        const bool onOutput = report.output.find(std::string(kernel.line) + "\n") != std::string::npos;
        EXPECT_EQ(onOutput, kernel.channel == Channel::output) << kernel.name;
        EXPECT_EQ(callsOf("clReleaseKernel"), 0U) << kernel.name;
        Lines made = kernelNames();
        made.resize(i + 1);
        EXPECT_EQ(traceOf("clCreateKernel"), made) << kernel.name;
        renew();
    }
}

TEST_F(OpenClTables, AProgramWithoutTheLastKernelMakesAllOthers) {
    std::string text = kernelText();
    const std::string name = "KERNEL getWeightImageKernel";
    text.replace(text.find(name), name.size(), "KERNEL getAnotherImageKernel");
    directory().write("cl.bin", text);
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_NE(report.output.find("clCreateKernel getWeightImageClKernel failed\n"), std::string::npos);
    EXPECT_EQ(report.debug.back(), "clCreateKernel createKernel failed");
    const auto& handles = engine().device.kernels.handles;
    EXPECT_EQ(std::count(handles.begin(), handles.end(), nullptr), 1);
}

TEST_F(OpenClTables, LackingFloatMaskKernelsPassUnnoticed) {
    for (const ClKernel id : {ClKernel::rgb2GaryFloatTwoCh3Kernel, ClKernel::rgb2GaryFloatTwoCh1Kernel}) {
        fail(std::string("clCreateKernel:") + nameOf(id));
        const InitReport report = init();
        EXPECT_TRUE(report.ready);
        EXPECT_EQ(engine().device.kernels[id], nullptr);
        EXPECT_EQ(report.debug.size(), 2U);
        EXPECT_EQ(report.output.find("failed"), std::string::npos);
        renew();
    }
}

TEST_F(OpenClTables, ALaterInitialisationMakesTheKernelsThatWereLacking) {
    fail("clCreateKernel:absCalcKernel");
    ASSERT_FALSE(init().ready);
    fail("");
    forget();
    EXPECT_TRUE(init().ready);
    Lines rest = kernelNames();
    rest.erase(rest.begin(), rest.begin() + 18);
    EXPECT_EQ(traceOf("clCreateKernel"), rest);
}

TEST_F(OpenClTables, FailedBuffersAreNamedWhereTheyHaveALineAndStopNothing) {
    const Lines named{"PreFrameImageGrayCL",
                      "CurFrameImageGrayCL",
                      "PreFrameImageGrayBoundTempCL",
                      "CurFrameImageGrayBoundTempCL",
                      "PreFrameImageGrayBoundCL",
                      "CurFrameImageGrayBoundCL",
                      "gray_pointdownscalClOne",
                      "grad_x2ClOne",
                      "grad_y2ClOne",
                      "grad_xyClOne",
                      "grad_x2ClTwo",
                      "grad_y2ClTwo",
                      "grad_xyClTwo",
                      "DestTempImageCL"};
    fail("clCreateBuffer");
    const InitReport report = init();
    EXPECT_TRUE(report.ready);
    Lines debug{"stitchingImageOffsetCL in11111111111111111111111111111"};
    for (const std::string& name : named) debug.push_back(name + " failed");
    debug.emplace_back("init out");
    EXPECT_EQ(report.debug, debug);
    EXPECT_EQ(callsOf("clCreateBuffer"), 34U);
}

TEST_F(OpenClTables, OneFailedBufferLeavesTheOthers) {
    fail("clCreateBuffer:13200");  // the four with a border of 2
    const InitReport report = init();
    EXPECT_TRUE(report.ready);
    EXPECT_EQ(report.debug.size(), 6U);
    const auto& entries = engine().device.buffers.entries;
    EXPECT_EQ(
        std::count_if(entries.begin(), entries.end(), [](const auto& e) { return e.handle == nullptr; }), 4);
}

TEST_F(OpenClTables, TearDownReleasesAllButOneBufferInOrder) {
    ASSERT_TRUE(init().ready);
    forget();
    const Lines lines = tearDownLines();
    EXPECT_EQ(lines, (Lines{"pthread_join one_pidCL success", "pthread_join two_pidCL success"}));
    Lines expected(33, "clReleaseMemObject");
    expected.insert(expected.end(), 36, "clReleaseKernel");
    for (const char* last : {"clReleaseCommandQueue", "clReleaseProgram", "clReleaseContext"})
        expected.emplace_back(last);
    EXPECT_EQ(trace(), expected);
}

TEST_F(OpenClTables, AnEngineThatIsDestroyedReleasesTheSameSilently) {
    ASSERT_TRUE(init().ready);
    forget();
    destroyEngine();
    EXPECT_EQ(callsOf("clReleaseMemObject"), 33U);
    EXPECT_EQ(callsOf("clReleaseKernel"), 36U);
    for (const char* last : {"clReleaseCommandQueue", "clReleaseProgram", "clReleaseContext"})
        EXPECT_EQ(callsOf(last), 1U) << last;
    const Spoken spoken = lines().take();
    EXPECT_EQ(spoken.output, "");
    EXPECT_EQ(spoken.debug, Lines{});
}

TEST_F(OpenClTables, TearDownOfNothingReportsThatNoThreadRan) {
    EXPECT_EQ(tearDownLines(), (Lines{"pthread_join one_pidCL failed", "pthread_join two_pidCL failed"}));
    EXPECT_EQ(trace(), Lines{});
}

}  // namespace

}  // namespace brantel::test
