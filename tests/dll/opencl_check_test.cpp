// A start on a machine whose OpenCL check succeeds: its threads are never torn down.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string>

#include "dll/loaded_library.h"
#include "support/output_capture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

/// Once a library of this name is loaded, loading OpenCL.dll gives that one.
class StandInOpencl {
  public:
    StandInOpencl() {
        char program[MAX_PATH];
        GetModuleFileNameA(nullptr, program, MAX_PATH);
        const std::string file(program);
        module_ = LoadLibraryA((file.substr(0, file.find_last_of('\\')) + "\\stand_in\\OpenCL.dll").c_str());
    }
    bool loaded() const { return module_ != nullptr; }

  private:
    HMODULE module_;  // stays loaded: the library keeps it open, too
};

class OpenclCheck : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(standIn.loaded());
        directory.write("cl.bin", "kernels");
        loadLibrary();
    }

    StandInOpencl standIn;
    ScratchDirectory directory;
};

bool initialise() {
    return initJoint(240, 320, 1, 1, 20000, 20000, 1, 1);
}

TEST_F(OpenclCheck, IsToldAndTheCpuStitchesAllTheSame) {
    std::vector<std::string> lines = captureDebugLines([] { EXPECT_TRUE(initialise()); });
    const auto success = std::find(lines.begin(), lines.end(), "openCL check success.");
    ASSERT_NE(success, lines.end());
    EXPECT_EQ(lines.front(), "use CUDA/CL/CPU");
    EXPECT_EQ(success + 1, lines.end() - 1);
    EXPECT_EQ(lines.back(), "use CPU");

    std::uint8_t pixel = 1;
    lines = captureDebugLines(
        [&] { stichingImagedJoint(&pixel, nullptr, 1, 1, 0, 0, false, nullptr, nullptr, nullptr, nullptr); });
    EXPECT_EQ(lines.front(), "stichingImagedJointCpu in");
    EXPECT_TRUE(uinitJoint());
    freeLibrary();
}

TEST_F(OpenclCheck, LeavesThreadsThatFindTheirCodeAfterUnloading) {
    ASSERT_TRUE(initialise());
    EXPECT_TRUE(uinitJoint());
    freeLibrary();
    EXPECT_TRUE(libraryIsMapped());
    Sleep(50);
    loadLibrary();
    EXPECT_TRUE(initialise()) << "again, with the threads of the first check still there";
    EXPECT_TRUE(uinitJoint());
    freeLibrary();
}

}  // namespace
}  // namespace brantel::test
