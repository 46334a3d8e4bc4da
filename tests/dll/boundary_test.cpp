// The lines that Brantel.dll hands to the debugger, and the results that go with them.
#include <gtest/gtest.h>

#include <algorithm>

#include "dll/loaded_library.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

class Boundary : public testing::Test {
  protected:
    LoadedLibrary library;
    ScratchDirectory directory;

    /// Lines of an initJoint with the modes, "stitch.txt" as the directory has it.
    Lines linesOfInit(std::int32_t mainMode = 1, std::int32_t staticFlag = 1, bool expected = true) {
        return captureDebugLines(
            [&] { EXPECT_EQ(initJoint(rows, cols, 1, 1, 20000, 20000, mainMode, staticFlag), expected); });
    }
};

/// What is left when the OpenCL check's own lines are taken out.
Lines withoutCheckLines(Lines lines) {
    const Lines boundary{
        "0 == GStitchMainMode", "0 == GstaticMainDynamicFlag", "use CPU", "use CUDA/CL/CPU", "use CUDA",
        "openCL check success."};
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const std::string& line) {
                                   return std::find(boundary.begin(), boundary.end(), line) == boundary.end();
                               }),
                lines.end());
    return lines;
}

TEST_F(Boundary, NonzeroOverrideUsesTheCpuAndTriesNothingElse) {
    for (const char* text : {"1", "-3", "  \n 7 and more", "+2", "12abc"}) {
        directory.write("stitch.txt", text);
        EXPECT_EQ(linesOfInit(), Lines{"use CPU"}) << text;
        EXPECT_TRUE(uinitJoint());
    }
}

TEST_F(Boundary, OverrideWithoutANonzeroNumberSelectsNormally) {
    for (const char* text : {"0", "", "x1", "0 1", "-0"}) {
        directory.write("stitch.txt", text);
        EXPECT_EQ(withoutCheckLines(linesOfInit()), (Lines{"use CUDA/CL/CPU", "use CPU"})) << text;
        EXPECT_TRUE(uinitJoint());
    }
}

TEST_F(Boundary, MissingOverrideSelectsNormally) {
    EXPECT_EQ(withoutCheckLines(linesOfInit()), (Lines{"use CUDA/CL/CPU", "use CPU"}));
}

TEST_F(Boundary, OverrideThatIsADirectorySelectsNormally) {
    std::filesystem::create_directory("stitch.txt");
    EXPECT_EQ(withoutCheckLines(linesOfInit()), (Lines{"use CUDA/CL/CPU", "use CPU"}));
}

TEST_F(Boundary, ZeroModesAreReportedBeforeTheOverrideFileIsRead) {
    directory.write("stitch.txt", "1");
    EXPECT_EQ(linesOfInit(0, 0), (Lines{"0 == GStitchMainMode", "0 == GstaticMainDynamicFlag", "use CPU"}));
    EXPECT_EQ(linesOfInit(0, 1), (Lines{"0 == GStitchMainMode", "use CPU"}));
    EXPECT_EQ(linesOfInit(1, 0), (Lines{"0 == GstaticMainDynamicFlag", "use CPU"}));
    uinitJoint();
}

TEST_F(Boundary, UnusableFramesAreRefusedBeforeAnythingElse) {
    const auto failing = [] { EXPECT_FALSE(initJoint(rows, cols, 2, 1, 20000, 20000, 0, 0)); };
    directory.write("stitch.txt", "1");
    EXPECT_EQ(captureDebugLines(failing), Lines{});
}

TEST_F(Boundary, InitialisationClosesStandardInputOnce) {
    directory.write("stitch.txt", "1");
    linesOfInit();
    EXPECT_EQ(std::fgetc(stdin), EOF);
    // Whatever file has taken its place meanwhile stays open.
    std::FILE* other = std::fopen("stitch.txt", "r");
    ASSERT_NE(other, nullptr);
    linesOfInit();
    EXPECT_EQ(std::fgetc(other), '1');
    std::fclose(other);
    uinitJoint();
}

TEST_F(Boundary, StitchingWritesWhereItGoes) {
    directory.write("stitch.txt", "1");
    linesOfInit();
    const Picture picture = makePicture(Texture::fine, 400, 500, 1, 5);
    Frame first = picture.window(0, 0, rows, cols);
    Frame second = picture.window(60, 40, rows, cols);
    StitchFlags flags{};
    const Lines lines = captureDebugLines([&] {
        EXPECT_EQ(stichingImagedJoint(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr,
                                      nullptr, &flags),
                  0);
    });
    EXPECT_EQ(lines, Lines{"stichingImagedJointCpu in"});
    EXPECT_EQ(flags.offset.x, 60);
    EXPECT_EQ(flags.offset.y, 40);
    EXPECT_TRUE(uinitJoint());
}

TEST_F(Boundary, NullCurrentFrameFails) {
    directory.write("stitch.txt", "1");
    linesOfInit();
    Frame first(std::size_t{rows} * cols, 9);
    const Lines lines = captureDebugLines([&] {
        EXPECT_EQ(
            stichingImagedJoint(first.data(), nullptr, 0, 1, 0, 0, false, nullptr, nullptr, nullptr, nullptr),
            -1);
    });
    EXPECT_EQ(lines, (Lines{"stichingImagedJointCpu in", "stichingImagedJointCpu failed"}));
    uinitJoint();
}

TEST_F(Boundary, CallsBeforeInitialisationFailAndStillWriteTheirLines) {
    Frame frame(std::size_t{rows} * cols, 9);
    MosaicCorner corner{7, 7};
    const auto stitch = [&] {
        EXPECT_EQ(stichingImagedJoint(frame.data(), frame.data(), 0, 1, 0, 0, false, &corner, nullptr,
                                      nullptr, nullptr),
                  -1);
    };
    EXPECT_EQ(captureDebugLines(stitch),
              (Lines{"stichingImagedJointCpu in", "stichingImagedJointCpu failed"}));
    EXPECT_EQ(corner.x, 0) << "outputs are written on failure, too";
    Lines output;
    EXPECT_TRUE(captureDebugLines([&] { output = captureLines([] { EXPECT_TRUE(uinitJoint()); }); }).empty());
    EXPECT_EQ(output, (Lines{"pthread_join model_pid failed", "pthread_join match_pid failed"}));
}

TEST_F(Boundary, AreaLimitTurnsTheResultTo1) {
    directory.write("stitch.txt", "1");
    ASSERT_TRUE(initJoint(rows, cols, 1, 1, 6000, 6000, 1, 0));
    const Picture picture = makePicture(Texture::fine, 400, 500, 1, 5);
    Frame first = picture.window(0, 0, rows, cols);
    Frame second = picture.window(60, 40, rows, cols);
    EXPECT_EQ(stichingImagedJoint(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr, nullptr,
                                  nullptr),
              1);
    uinitJoint();
}

}  // namespace
}  // namespace brantel::test
