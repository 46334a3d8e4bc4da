// Brantel.dll with an nvcuda.dll: it stitches on the device. A program of its own, since the driver's library
// stays loaded.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string>

#include "dll/loaded_library.h"
#include "support/camera_path.h"
#include "support/output_capture.h"

namespace brantel::test {
namespace {

/// Once a library of this name is loaded, loading nvcuda.dll gives that one.
HMODULE standIn() {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const std::string file(program);
    static const HMODULE module =
        LoadLibraryA((file.substr(0, file.find_last_of('\\')) + "\\stand_in\\nvcuda.dll").c_str());
    return module;
}

std::size_t ask(const char* question) {
    using Question = std::size_t (*)();
    const auto function =
        reinterpret_cast<Question>(reinterpret_cast<void*>(GetProcAddress(standIn(), question)));
    return function == nullptr ? std::size_t{999999} : function();
}

/// (main mode, channels)
class CudaInTheDll : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {};

TEST_P(CudaInTheDll, FollowsTheCamera) {
    ASSERT_NE(standIn(), nullptr);
    const LoadedLibrary library;
    const auto [mode, channels] = GetParam();
    const Picture picture = makePicture(Texture::fine, 500, 700, channels, 8);
    const Path path = serpentinePath({10, 10}, 90, 70, 3, 2);
    SessionOptions options{200, 260, channels};
    options.mainMode = mode;
    options.forceCpu = false;
    FollowReport report;
    std::string output;
    const std::size_t launchesBefore = ask("standInLaunches");
    const auto debug = captureDebugLines([&] {
        output = captureOutput([&] {
            Session session(options);
            ASSERT_TRUE(session.ready());
            report = follow(session, picture, path, options.rows, options.cols);
        });
    });
    EXPECT_EQ(std::count(debug.begin(), debug.end(), "use CUDA"), 1);
    EXPECT_NE(output.find("8192 MB"), std::string::npos);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
    EXPECT_GT(ask("standInLaunches"), launchesBefore + 20 * path.size());
    EXPECT_EQ(ask("standInViolations"), 0U);
    EXPECT_EQ(ask("standInLiveBlocks"), 0U);
}

INSTANTIATE_TEST_SUITE_P(ModesAndChannels, CudaInTheDll,
                         testing::Combine(testing::Values(0, 1), testing::Values(1, 3)));

}  // namespace
}  // namespace brantel::test
