// What becomes of a "cl.bin" that will not do: its file is closed, and its text is not compiled twice.
#include <algorithm>
#include <cstddef>

#include "opencl/fake_machine.h"

namespace brantel::test {

namespace {

const std::string brokenText = "__kernel void broken(__global int* a) { a[0] = unknown; }\n";

class OpenClKernelFile : public FakeMachine {
  protected:
    static std::ptrdiff_t openFiles() {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    }
    /// Initialisations leave as many files open as there were.
    void expectClosed(bool ready) {
        EXPECT_EQ(init().ready, ready);  // the first one may open the driver's own
        const std::ptrdiff_t before = openFiles();
        for (int i = 0; i < 3; ++i) {
            tearDownLines();
            EXPECT_EQ(init().ready, ready);
        }
        EXPECT_EQ(openFiles(), before);
    }
    void expectRefused(const InitReport& report, const InitReport& like) {
        EXPECT_FALSE(report.ready);
        EXPECT_EQ(report.output, like.output);
        EXPECT_EQ(report.debug, like.debug);
        EXPECT_EQ(engine().device.clContext, nullptr);
    }
};

TEST_F(OpenClKernelFile, IsClosedWhenItWasRead) {
    expectClosed(true);
}

TEST_F(OpenClKernelFile, IsClosedWhenItIsEmpty) {
    directory().write("cl.bin", "");
    expectClosed(false);
}

TEST_F(OpenClKernelFile, IsClosedWhenItCannotBeRead) {
    std::filesystem::remove("cl.bin");
    std::filesystem::create_directory("cl.bin");
    expectClosed(false);
}

TEST_F(OpenClKernelFile, IsClosedWhenItIsTooLong) {
    std::filesystem::resize_file("cl.bin", (std::uintmax_t{1} << 28U) + 1);  // takes no room on the disk
    expectClosed(false);
}

TEST_F(OpenClKernelFile, IsClosedWhenItDoesNotCompile) {
    directory().write("cl.bin", brokenText);
    expectClosed(false);
}

TEST_F(OpenClKernelFile, ThatDoesNotCompileIsCompiledOnceAndRefusedWithTheSameLines) {
    directory().write("cl.bin", brokenText);
    const InitReport first = init();
    EXPECT_FALSE(first.ready);
    EXPECT_EQ(callsOf("clBuildProgram"), 1U);
    EXPECT_GT(first.output.size(), first.output.find("Error in kernel:") + 20);
    forget();
    expectRefused(init(), first);
    tearDownLines();
    expectRefused(init(), first);
    EXPECT_EQ(callsOf("clBuildProgram"), 0U);
    EXPECT_EQ(callsOf("clReleaseContext"), 2U);
}

TEST_F(OpenClKernelFile, IsCompiledAgainWhenItHasChanged) {
    directory().write("cl.bin", brokenText);
    const InitReport first = init();
    directory().write("cl.bin", brokenText + "/* still */\n");
    forget();
    EXPECT_FALSE(init().ready);
    EXPECT_EQ(callsOf("clBuildProgram"), 1U);
    directory().write("cl.bin", kernelText());
    EXPECT_TRUE(init().ready);
}

TEST_F(OpenClKernelFile, IsCompiledAgainAfterAFailureThatWasNotItsOwn) {
    fail("clBuildProgram");
    EXPECT_FALSE(init().ready);
    fail("");
    EXPECT_TRUE(init().ready);
}

}  // namespace

}  // namespace brantel::test
