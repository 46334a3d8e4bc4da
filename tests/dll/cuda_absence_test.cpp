// A start on a machine without NVIDIA's driver.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>

#include "dll/loaded_library.h"
#include "support/output_capture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

TEST(CudaAbsence, IsToldAndTheCpuIsUsed) {
    if (LoadLibraryA("nvcuda.dll") != nullptr) GTEST_SKIP() << "this machine has the driver";
    const LoadedLibrary library;
    const ScratchDirectory directory;
    std::vector<std::string> lines;
    const std::vector<std::string> debug = captureDebugLines(
        [&] { lines = captureLines([] { EXPECT_TRUE(initJoint(240, 320, 1, 1, 20000, 20000, 1, 1)); }); });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "have no cuda device"), 1);
    EXPECT_EQ(debug.back(), "use CPU");
    EXPECT_TRUE(uinitJoint());
}

}  // namespace
}  // namespace brantel::test
