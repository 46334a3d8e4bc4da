// Which backend is chosen and which boundary lines that writes, byte for byte and in their order.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/camera_path.h"
#include "support/lines.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 240;

/// Leaves out what the OpenCL check says on its own account.
Lines boundaryLines(const Lines& lines) {
    const Lines known{"0 == GStitchMainMode", "0 == GstaticMainDynamicFlag", "use CPU", "use CUDA/CL/CPU",
                      "use CUDA"};
    Lines kept;
    for (const std::string& line : lines)
        if (std::find(known.begin(), known.end(), line) != known.end()) kept.push_back(line);
    return kept;
}

class Dispatch : public testing::Test {
  protected:
    ScratchDirectory directory;
    const Picture picture = makePicture(Texture::fine, 300, 400, 1, 5);

    void TearDown() override { uinitJoint(); }

    static Lines debugLinesOfInit(std::int32_t mainMode, std::int32_t staticFlag, std::int32_t channels = 1) {
        return captureDebugLines(
            [&] { initJoint(rows, cols, channels, 1, 20000, 20000, mainMode, staticFlag); });
    }
    std::int32_t stitchPair() {
        Frame first = picture.window(0, 0, rows, cols);
        Frame second = picture.window(60, 40, rows, cols);
        return stichingImagedJoint(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr, nullptr,
                                   nullptr);
    }
};

TEST_F(Dispatch, AForcedCpuWritesItsOneLineAndTriesNothingElse) {
    directory.write("stitch.txt", "1");
    Lines output;
    const Lines debug = captureDebugLines([&] {
        output = captureLines([&] {
            EXPECT_TRUE(initJoint(rows, cols, 1, 1, 20000, 20000, 1, 1));
            uinitJoint();
        });
    });
    EXPECT_EQ(debug, Lines{"use CPU"});
    EXPECT_EQ(withoutStartLine(output),
              (Lines{"pthread_join model_pid success", "pthread_join match_pid success"}));
}

TEST_F(Dispatch, ZeroModesAreWrittenBeforeTheFileIsRead) {
    directory.write("stitch.txt", "1");
    EXPECT_EQ(debugLinesOfInit(0, 0),
              (Lines{"0 == GStitchMainMode", "0 == GstaticMainDynamicFlag", "use CPU"}));
    EXPECT_EQ(debugLinesOfInit(0, 7), (Lines{"0 == GStitchMainMode", "use CPU"}));
    EXPECT_EQ(debugLinesOfInit(-1, 0), (Lines{"0 == GstaticMainDynamicFlag", "use CPU"}));
    EXPECT_EQ(debugLinesOfInit(1, 1), (Lines{"use CPU"}));
}

TEST_F(Dispatch, WithoutAFileTheBackendsAreTriedInOrder) {
    const Lines lines = boundaryLines(debugLinesOfInit(1, 1));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "use CUDA/CL/CPU");
    EXPECT_TRUE(lines[1] == "use CPU" || lines[1] == "use CUDA") << lines[1];
}

TEST_F(Dispatch, AFileWithZeroIsNoFile) {
    directory.write("stitch.txt", "0");
    const Lines lines = boundaryLines(debugLinesOfInit(1, 1));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "use CUDA/CL/CPU");
}

TEST_F(Dispatch, RefusedGeometrySaysItsOneLineAndNothingElse) {
    for (const char* contents : {"1", "0"}) {
        directory.write("stitch.txt", contents);
        bool ready = true;
        Lines output;
        const Lines debug = captureDebugLines(
            [&] { output = captureLines([&] { ready = initJoint(rows, cols, 2, 1, 20000, 20000, 0, 0); }); });
        EXPECT_FALSE(ready);
        EXPECT_TRUE(debug.empty());
        EXPECT_EQ(output, Lines{"initJoint refused: rows and columns must be positive, channels 1 or 3"});
    }
}

TEST_F(Dispatch, StitchingSaysWhereItGoesAndWhenItFails) {
    directory.write("stitch.txt", "1");
    debugLinesOfInit(1, 0);
    std::int32_t result = -9;
    EXPECT_EQ(captureDebugLines([&] { result = stitchPair(); }), Lines{"stichingImagedJointCpu in"});
    EXPECT_EQ(result, 0);
    EXPECT_EQ(captureDebugLines([&] {
                  result = stichingImagedJoint(nullptr, nullptr, 1, 1, 0, 0, false, nullptr, nullptr, nullptr,
                                               nullptr);
              }),
              (Lines{"stichingImagedJointCpu in", "stichingImagedJointCpu failed"}));
    EXPECT_EQ(result, -1);
}

TEST_F(Dispatch, BoundaryLinesStayOffStandardOutputAndDiagnosticsOffTheDebugger) {
    directory.write("stitch.txt", "1");
    debugLinesOfInit(1, 0);
    Lines output;
    const Lines debug = captureDebugLines([&] { output = captureLines([&] { stitchPair(); }); });
    for (const std::string& line : output)
        EXPECT_EQ(line.find("stichingImagedJoint"), std::string::npos) << line;
    for (const std::string& line : debug) EXPECT_EQ(line.find("imageMosaicFun"), std::string::npos) << line;
    EXPECT_NE(std::find(output.begin(), output.end(), "imageMosaicFun in"), output.end());
}

TEST_F(Dispatch, CallsOutsideASessionFailWithTheSameLines) {
    const Lines failed{"stichingImagedJointCpu in", "stichingImagedJointCpu failed"};
    std::int32_t result = 0;
    EXPECT_EQ(captureDebugLines([&] { result = stitchPair(); }), failed);
    EXPECT_EQ(result, -1);
    directory.write("stitch.txt", "1");
    debugLinesOfInit(1, 0);
    EXPECT_EQ(stitchPair(), 0);
    uinitJoint();
    EXPECT_EQ(captureDebugLines([&] { result = stitchPair(); }), failed);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(captureLines([] { EXPECT_TRUE(uinitJoint()); }),
              (Lines{"pthread_join model_pid failed", "pthread_join match_pid failed"}));
}

TEST_F(Dispatch, ASessionMayFollowASession) {
    directory.write("stitch.txt", "1");
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(debugLinesOfInit(1, 1), Lines{"use CPU"});
        EXPECT_TRUE(uinitJoint());
    }
}

#if !defined(_WIN32)
TEST_F(Dispatch, DebuggerLinesAreDroppedWhenNobodyAskedForThem) {
    directory.write("stitch.txt", "1");
    unsetenv("BRANTEL_DEBUG_OUTPUT");
    const Lines output = captureLines([&] {
        initJoint(rows, cols, 1, 1, 20000, 20000, 0, 0);
        uinitJoint();
    });
    EXPECT_EQ(std::count(output.begin(), output.end(), "use CPU"), 0);
    setenv("BRANTEL_DEBUG_OUTPUT", "", 1);
    EXPECT_TRUE(initJoint(rows, cols, 1, 1, 20000, 20000, 0, 0));
    setenv("BRANTEL_DEBUG_OUTPUT", "/no/such/folder/file", 1);
    EXPECT_TRUE(initJoint(rows, cols, 1, 1, 20000, 20000, 0, 0)) << "a file that cannot be had does no harm";
    unsetenv("BRANTEL_DEBUG_OUTPUT");
}
#endif

}  // namespace
}  // namespace brantel::test
