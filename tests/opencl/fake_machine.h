// A machine with chosen OpenCL platforms, made of PoCL and the fake GPU layer.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "opencl/recorded_lines.h"
#include "opencl/state.h"
#include "support/scratch_directory.h"

namespace brantel::test {

/// What an initialisation comes to, and what it says.
struct InitReport {
    bool ready = false;
    std::string output;
    Lines debug;
};

/// Each test has a machine with one NVIDIA GPU of 8 GiB, the real cl.bin in the current directory and an
/// engine of its own. Without PoCL the tests are skipped.
class FakeMachine : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    /// The machine as it was before the test, with another engine; for tests that go through several.
    void renew() {
        TearDown();
        SetUp();
    }

    OpenclEngine& engine() { return *engine_; }
    /// Ends the engine as a host's last reference does.
    void destroyEngine() { engine_.reset(); }
    RecordedLines& lines() { return lines_; }

    static void showPlatforms(const std::string& list);
    /// What fails from now on; empty for nothing.
    static void fail(const std::string& list);

    InitReport init(const FrameSetup& setup = {96, 128, 1, 1, 20000, 20000},
                    const StitchModes& modes = {1, 0});

    /// What a teardown says on the stream.
    Lines tearDownLines();

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
    RecordedLines lines_;
    std::unique_ptr<OpenclEngine> engine_;
};

/// True when there is an OpenCL device to run on. Prepares the process's environment for it first.
bool openClDeviceHere();

}  // namespace brantel::test
