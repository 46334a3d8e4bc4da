// A machine with chosen OpenCL platforms, made of PoCL and the fake GPU layer.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/stitch_call.h"
#include "support/scratch_directory.h"

namespace brantel::test {

using Lines = std::vector<std::string>;

/// What initJointCL says, per channel. Standard output is raw: some of its texts have no line end.
struct InitReport {
    bool ready = false;
    std::string output;
    Lines debug;
};

/// Each test has a machine with one NVIDIA GPU of 8 GiB and the real cl.bin in the current directory, and the
/// backend torn down before and after it. Without PoCL the tests are skipped.
class FakeMachine : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    static void showPlatforms(const std::string& list);
    /// What fails from now on; empty for nothing.
    static void fail(const std::string& list);

    static InitReport init(const FrameSetup& setup = {96, 128, 1, 1, 20000, 20000});

    /// What uinitJointCL says on standard output.
    static Lines tearDownLines();

    /// Everything the layer was asked for since the test began, or since the last forget().
    Lines trace() const;
    /// The details of one function's calls.
    Lines traceOf(const std::string& function) const;
    std::size_t callsOf(const std::string& function) const;
    void forget() const;

    static std::string kernelText();
    const ScratchDirectory& directory() const { return directory_; }

  private:
    ScratchDirectory directory_;
};

/// True when there is an OpenCL device to run on. Prepares the process's environment for it first.
bool openClDeviceHere();

}  // namespace brantel::test
