// Platform, device and program set-up: every line on its channel, every clean-up.
#include <algorithm>

#include "opencl/fake_machine.h"

namespace brantel::test {

namespace {

const std::string enterDebug = "stitchingImageOffsetCL in11111111111111111111111111111";
const std::string enterOutput = "44444444444444444444\n";

class OpenClSetup : public FakeMachine {
  protected:
    static void expectRefusedBeforeDevice(const InitReport& report) {
        EXPECT_FALSE(report.ready);
        EXPECT_EQ(report.output, enterOutput);
        EXPECT_EQ(report.debug, (Lines{enterDebug, "commandQueue failed"}));
    }
    void expectNothingHeld() {
        EXPECT_EQ(engine().device.clContext, nullptr);
        EXPECT_EQ(engine().device.clCommandQueue, nullptr);
        EXPECT_EQ(engine().device.clProgram, nullptr);
    }
    /// The memory that the device report shows, in MiB.
    static std::string reportedMemory(const InitReport& report) {
        const std::size_t end = report.output.find("(MB)");
        if (end == std::string::npos) return "none";
        const std::size_t start = report.output.rfind(':', end) + 1;
        return report.output.substr(start, end - start);
    }
    /// The device report up to the memory line, and behind it.
    std::string reportHead(const std::string& mebibytes) {
        char head[200];
        std::snprintf(head, sizeof head,
                      "Compute Units Number:%u\nDevice Frequency:%u(MHz)\nDevice Frequency:%s(MB)\n",
                      deviceNumber(CL_DEVICE_MAX_COMPUTE_UNITS), deviceNumber(CL_DEVICE_MAX_CLOCK_FREQUENCY),
                      mebibytes.c_str());
        return head;
    }
    std::string reportTail(bool version = true) {
        char tail[300];
        std::snprintf(tail, sizeof tail, "Device Frequency:%u(Byte)\nDevice DeviceVersion:%s\n",
                      deviceNumber(CL_DEVICE_GLOBAL_MEM_CACHELINE_SIZE),
                      version ? deviceVersion().c_str() : "");
        return tail;
    }

  private:
    cl_uint deviceNumber(cl_device_info what) {
        cl_uint value = 0;
        clApi()->clGetDeviceInfo(engine().device.clDevice, what, sizeof value, &value, nullptr);
        return value;
    }
    std::string deviceVersion() {
        char text[100] = {};
        clApi()->clGetDeviceInfo(engine().device.clDevice, CL_DEVICE_VERSION, sizeof text, text, nullptr);
        return text;
    }
};

TEST_F(OpenClSetup, WithAGpuReportsItAndIsReady) {
    const InitReport report = init();
    EXPECT_TRUE(report.ready);
    EXPECT_EQ(report.output, enterOutput + reportHead("8192") + reportTail());
    EXPECT_EQ(report.debug, (Lines{enterDebug, "init out"}));
    EXPECT_EQ(traceOf("clCreateCommandQueue"), Lines{"0"});
}

TEST_F(OpenClSetup, ASecondInitialisationReusesWhatTheFirstMade) {
    ASSERT_TRUE(init().ready);
    forget();
    const InitReport again = init();
    EXPECT_TRUE(again.ready);
    EXPECT_EQ(again.output, enterOutput);
    EXPECT_EQ(trace(), Lines{});
}

TEST_F(OpenClSetup, WithoutPlatformsIsRefused) {
    showPlatforms("");
    expectRefusedBeforeDevice(init());
}

TEST_F(OpenClSetup, OtherMakersPlatformsAreNotConsidered) {
    showPlatforms("Intel(R) OpenCL=8192;amd small letters=8192;Portable NVIDIA=8192;NV=8192");
    expectRefusedBeforeDevice(init());
    EXPECT_EQ(callsOf("clGetDeviceIDs"), 0U);
}

TEST_F(OpenClSetup, OfBothMakersAmdIsTaken) {
    showPlatforms("NVIDIA CUDA=8192;AMD Accelerated Parallel Processing=6144");
    EXPECT_EQ(reportedMemory(init()), "6144");
    EXPECT_EQ(engine().device.amdPlatformIndex, 1);
    EXPECT_EQ(engine().device.nvidiaPlatformIndex, 0);
}

TEST_F(OpenClSetup, FallsBackToNvidiaWhenAmdHasNoGpu) {
    showPlatforms("AMD Accelerated Parallel Processing=-;NVIDIA CUDA=8192");
    EXPECT_EQ(reportedMemory(init()), "8192");
}

TEST_F(OpenClSetup, FallsBackToNvidiaWhenAmdsQueryFails) {
    showPlatforms("AMD Accelerated Parallel Processing=6144;NVIDIA CUDA=8192");
    fail("clGetDeviceIDs:AMD Accelerated Parallel Processing");
    EXPECT_EQ(reportedMemory(init()), "8192");
}

TEST_F(OpenClSetup, WithAmdAloneAndNoGpuOnItIsRefused) {
    showPlatforms("AMD Accelerated Parallel Processing=-");
    expectRefusedBeforeDevice(init());
}

TEST_F(OpenClSetup, WithoutAGpuOnAnyPlatformIsRefused) {
    showPlatforms("AMD Accelerated Parallel Processing=-;NVIDIA CUDA=-");
    expectRefusedBeforeDevice(init());
}

TEST_F(OpenClSetup, OfOneMakersPlatformsTheLastWins) {
    showPlatforms("NVIDIA CUDA=5000;Intel(R) OpenCL=7000;NVI=6000");
    EXPECT_EQ(reportedMemory(init()), "6000");
    EXPECT_EQ(engine().device.nvidiaPlatformIndex, 2);
}

TEST_F(OpenClSetup, AFailingNameQueryHidesThePlatforms) {
    fail("clGetPlatformInfo");
    expectRefusedBeforeDevice(init());
}

class OpenClMemory : public OpenClSetup, public ::testing::WithParamInterface<const char*> {};

TEST_P(OpenClMemory, BelowTheGateEndsAfterTheMemoryLine) {
    showPlatforms(std::string("NVIDIA CUDA=") + GetParam());
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_EQ(report.output, enterOutput + reportHead(GetParam()));
    EXPECT_EQ(report.debug, (Lines{enterDebug, "commandQueue failed"}));
    EXPECT_EQ(callsOf("clCreateContext"), 0U);
}
INSTANTIATE_TEST_SUITE_P(Sizes, OpenClMemory, ::testing::Values("3072", "4095"));

TEST_F(OpenClSetup, ExactlyFourGibibytesSuffice) {
    showPlatforms("NVIDIA CUDA=4096");
    const InitReport report = init();
    EXPECT_TRUE(report.ready);
    EXPECT_EQ(report.output, enterOutput + reportHead("4096") + reportTail());
}

TEST_F(OpenClSetup, AFailingMemoryQueryCountsAsNoMemory) {
    fail("clGetDeviceInfo:0x101f");
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_EQ(reportedMemory(report), "0");
}

TEST_F(OpenClSetup, AFailingVersionQueryRefusesAfterAnEmptyVersion) {
    fail("clGetDeviceInfo:0x102f");
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_EQ(report.output, enterOutput + reportHead("8192") + reportTail(false) + "There is NO GPU or CPU");
    EXPECT_EQ(report.debug, (Lines{enterDebug, "commandQueue failed"}));
}

TEST_F(OpenClSetup, AFailingContextIsReported) {
    fail("clCreateContext");
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_EQ(report.output, enterOutput + reportHead("8192") + reportTail() + "create context error \n");
    EXPECT_EQ(report.debug, (Lines{enterDebug, "commandQueue failed"}));
    expectNothingHeld();
}

TEST_F(OpenClSetup, AFailingQueueReleasesTheContext) {
    fail("clCreateCommandQueue");
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    EXPECT_EQ(report.output,
              enterOutput + reportHead("8192") + reportTail() + "Failed to create commandQueue for device 0");
    EXPECT_EQ(report.debug, (Lines{enterDebug, "commandQueue failed"}));
    EXPECT_EQ(callsOf("clReleaseContext"), 1U);
    expectNothingHeld();
}

class OpenClProgram : public OpenClSetup {
  protected:
    /// The program fails after these lines on standard output; queue and context are released.
    void expectNoProgram(const std::string& lines) {
        const InitReport report = init();
        EXPECT_FALSE(report.ready);
        EXPECT_EQ(report.output, enterOutput + reportHead("8192") + reportTail() + lines);
        EXPECT_EQ(report.debug, Lines{enterDebug});
        expectReleased();
    }
    void expectReleased() {
        EXPECT_EQ(callsOf("clReleaseCommandQueue"), 1U);
        EXPECT_EQ(callsOf("clReleaseContext"), 1U);
        expectNothingHeld();
    }
};

TEST_F(OpenClProgram, AMissingFileIsNamed) {
    std::filesystem::remove("cl.bin");
    expectNoProgram("OpenclJoint at  2881 :Can't open cl.bin\nFailed to create CL program for source");
}

TEST_F(OpenClProgram, AnEmptyFileCannotBeRead) {
    directory().write("cl.bin", "");
    expectNoProgram("OpenclJoint at 2891:can't read source cl.bin\nFailed to create CL program for source");
}

TEST_F(OpenClProgram, ADirectoryOfThatNameCannotBeRead) {
    std::filesystem::remove("cl.bin");
    std::filesystem::create_directory("cl.bin");
    expectNoProgram("OpenclJoint at 2891:can't read source cl.bin\nFailed to create CL program for source");
}

TEST_F(OpenClProgram, ATextThatDoesNotCompileIsReportedWithItsBuildLog) {
    directory().write("cl.bin", "__kernel void broken(__global int* a) { a[0] = unknown; }\n");
    const InitReport report = init();
    EXPECT_FALSE(report.ready);
    const std::string before = enterOutput + reportHead("8192") + reportTail() + "Error in kernel:";
    EXPECT_EQ(report.output.substr(0, before.size()), before);
    EXPECT_EQ(report.debug, Lines{enterDebug});
    EXPECT_EQ(callsOf("clReleaseProgram"), 1U);
    expectReleased();
}

TEST_F(OpenClProgram, AfterAFailureTheNextInitialisationStartsAfresh) {
    std::filesystem::remove("cl.bin");
    ASSERT_FALSE(init().ready);
    directory().write("cl.bin", kernelText());
    EXPECT_TRUE(init().ready);
}

TEST_F(OpenClSetup, DerivesTheCornerBudgetFromTheDensity) {
    ASSERT_TRUE(init({96, 128, 1, 1, 20000, 20000}).ready);
    EXPECT_EQ(engine().clMaxCornerNum, 181);
    EXPECT_EQ(engine().clMaxCandidateNum, 7 * 181);
    ASSERT_TRUE(init({96, 128, 1, 2, 20000, 20000}).ready);
    EXPECT_EQ(engine().clMaxCornerNum, 212);
}

TEST_F(OpenClSetup, CanvasLimitsOnlyShrink) {
    EXPECT_EQ(engine().clCanvasLimitA, 30000);
    EXPECT_EQ(engine().clCanvasLimitB, 30000);
    ASSERT_TRUE(init({96, 128, 1, 1, 40000, 20000}).ready);
    EXPECT_EQ(engine().clCanvasLimitA, 30000);
    EXPECT_EQ(engine().clCanvasLimitB, 20000);
    ASSERT_TRUE(init({96, 128, 1, 1, 25000, 25000}).ready);
    EXPECT_EQ(engine().clCanvasLimitA, 25000);
    EXPECT_EQ(engine().clCanvasLimitB, 20000);
}

TEST_F(OpenClSetup, TouchesNoHostCopyOfAFrame) {
    ASSERT_TRUE(init({96, 128, 3, 1, 20000, 20000}).ready);
    EXPECT_TRUE(engine().clFrameCopyA.empty());
    EXPECT_TRUE(engine().clFrameCopyB.empty());
}

}  // namespace

}  // namespace brantel::test
