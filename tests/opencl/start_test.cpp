// initJoint's check as a host meets it, each time in a process of its own: whatever OpenCL the machine has,
// the library starts and stitches on the CPU.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/scratch_directory.h"

namespace brantel::test {

namespace {

using Lines = std::vector<std::string>;

struct Start {
    int status = -1;
    std::string output;
    Lines debug;  // from the check's first line on
    bool cuda = false;

    bool says(const std::string& line) const {
        return std::find(debug.begin(), debug.end(), line) != debug.end();
    }
};

std::string contentsOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

const std::string checkLine = "stitchingImageOffsetCL in11111111111111111111111111111";
const std::string stitchedLine = "ready 1, result 0, offset 100 0\n";

const char* const withoutPocl = "no OpenCL driver (Debian: pocl-opencl-icd)";

bool poclHere() {
    return std::filesystem::exists("/etc/OpenCL/vendors/pocl.icd");
}

class OpenClStart : public ::testing::Test {
  protected:
    void SetUp() override { directory_.write("cl.bin", contentsOf(BRANTEL_CL_BIN)); }

    /// Runs the probe in an environment of these settings alone.
    Start start(const std::string& settings) {
        const std::string command =
            "env -u OPENCL_LAYERS -u OCL_ICD_VENDORS BRANTEL_DEBUG_OUTPUT=debug "
            "POCL_CACHE_DIR=" BRANTEL_POCL_CACHE " " +
            settings + " " BRANTEL_PROBE " " BRANTEL_LIBRARY " >output";
        std::filesystem::remove("debug");
        Start result;
        result.status = std::system(command.c_str());
        result.output = contentsOf("output");
        std::ifstream debug("debug");
        for (std::string line; std::getline(debug, line);) {
            result.cuda = result.cuda || line == "use CUDA";
            if (line == checkLine || !result.debug.empty()) result.debug.push_back(line);
        }
        return result;
    }

    static void expectRefusedCheck(const Start& result) {
        if (result.cuda) GTEST_SKIP() << "CUDA was chosen before OpenCL was checked";
        EXPECT_EQ(result.status, 0);
        ASSERT_GE(result.debug.size(), 3U);
        EXPECT_EQ(result.debug[1], "commandQueue failed");
        EXPECT_EQ(result.debug[2], "use CPU");
        EXPECT_NE(result.output.find("44444444444444444444\n"), std::string::npos);
        EXPECT_EQ(result.output.find("Compute Units Number"), std::string::npos);
        EXPECT_NE(result.output.find(stitchedLine), std::string::npos);
    }

    static std::string layered(const std::string& platforms) {
        return "OCL_ICD_VENDORS=pocl.icd OPENCL_LAYERS=" BRANTEL_FAKE_GPU " 'FAKE_CL_PLATFORMS=" + platforms +
               "'";
    }

    const ScratchDirectory& directory() const { return directory_; }

  private:
    ScratchDirectory directory_;
};

TEST_F(OpenClStart, WithoutARuntimeTheCpuStitches) {
    expectRefusedCheck(start(layered("NVIDIA CUDA=8192") +
                             " ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" BRANTEL_NO_LOADER));
}

TEST_F(OpenClStart, WithoutADriverTheCpuStitches) {
    std::filesystem::create_directory("vendors");
    expectRefusedCheck(start("OCL_ICD_VENDORS=$PWD/vendors"));
}

TEST_F(OpenClStart, WithABrokenDriverTheCpuStitches) {
    std::filesystem::create_directory("vendors");
    directory().write("vendors/broken.icd", "/nonexistent/driver.so\n");
    directory().write("vendors/text.icd", (directory().path() / "text.so").string() + "\n");
    directory().write("text.so", "this is no library\n");
    expectRefusedCheck(start("OCL_ICD_VENDORS=$PWD/vendors"));
}

TEST_F(OpenClStart, WithAProcessorsDriverAloneTheCpuStitches) {
    if (!poclHere()) GTEST_SKIP() << withoutPocl;
    expectRefusedCheck(start("OCL_ICD_VENDORS=pocl.icd"));
}

TEST_F(OpenClStart, WithAnotherMakersGpuTheCpuStitches) {
    if (!poclHere()) GTEST_SKIP() << withoutPocl;
    expectRefusedCheck(start(layered("Intel(R) OpenCL=8192")));
}

TEST_F(OpenClStart, WithAnAcceptedGpuTheCheckSucceedsAndTheCpuStitches) {
    if (!poclHere()) GTEST_SKIP() << withoutPocl;
    const Start result = start(layered("NVIDIA CUDA=8192"));
    if (result.cuda) GTEST_SKIP() << "CUDA was chosen before OpenCL was checked";
    EXPECT_NE(result.output.find("Compute Units Number"), std::string::npos);
    EXPECT_EQ(result.status, 0);
    ASSERT_GE(result.debug.size(), 4U);
    EXPECT_EQ(result.debug[1], "init out");
    EXPECT_EQ(result.debug[2], "openCL check success.");
    EXPECT_EQ(result.debug[3], "use CPU");
    EXPECT_TRUE(result.says("stichingImagedJointCpu in"));
    EXPECT_FALSE(result.says("stichingImagedJointCL in"));
    EXPECT_NE(result.output.find(stitchedLine), std::string::npos);
}

TEST_F(OpenClStart, WithAnAcceptedGpuAndNoKernelsTheCpuStitches) {
    if (!poclHere()) GTEST_SKIP() << withoutPocl;
    std::filesystem::remove("cl.bin");
    const Start result = start(layered("AMD Accelerated Parallel Processing=8192"));
    if (result.cuda) GTEST_SKIP() << "CUDA was chosen before OpenCL was checked";
    EXPECT_NE(result.output.find("Compute Units Number"), std::string::npos);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("OpenclJoint at  2881 :Can't open cl.bin\n"), std::string::npos);
    ASSERT_GE(result.debug.size(), 2U);
    EXPECT_EQ(result.debug[1], "use CPU");
    EXPECT_NE(result.output.find(stitchedLine), std::string::npos);
}

}  // namespace

}  // namespace brantel::test
