#include "opencl/fake_machine.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "opencl/driver_leaks.h"

namespace brantel::test {

namespace {

const char* const oneGpu = "NVIDIA CUDA=8192";

/// Only the driver under test and the layer, whatever else is installed. Read by the loader on its first
/// call.
void prepareEnvironment() {
    const char* driver = std::getenv("BRANTEL_TEST_OPENCL_DRIVER");
    setenv("OCL_ICD_VENDORS", driver != nullptr ? driver : "pocl.icd", 1);
    setenv("OPENCL_LAYERS", BRANTEL_FAKE_GPU, 1);
    setenv("POCL_CACHE_DIR", BRANTEL_POCL_CACHE, 1);
}

std::string contentsOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

bool openClDeviceHere() {
    static const bool here = [] {
        prepareEnvironment();
        setenv("FAKE_CL_PLATFORMS", oneGpu, 1);
        cl_uint count = 0;
        return clApi() != nullptr && clApi()->clGetPlatformIDs(0, nullptr, &count) == CL_SUCCESS && count > 0;
    }();
    return here;
}

void FakeMachine::SetUp() {
    if (!openClDeviceHere()) GTEST_SKIP() << "no OpenCL driver (Debian: pocl-opencl-icd)";
    showPlatforms(oneGpu);
    fail("");
    directory_.write("cl.bin", kernelText());
    setenv("FAKE_CL_TRACE", (directory_.path() / "trace").c_str(), 1);
    engine_ = std::make_unique<OpenclEngine>(lines_);
}

void FakeMachine::TearDown() {
    fail("");
    unsetenv("FAKE_CL_TRACE");
    if (engine_ != nullptr) engine_->uinitJoint();
    engine_.reset();
    lines_.take();
}

void FakeMachine::showPlatforms(const std::string& list) {
    setenv("FAKE_CL_PLATFORMS", list.c_str(), 1);
}

void FakeMachine::fail(const std::string& list) {
    setenv("FAKE_CL_FAIL", list.c_str(), 1);
}

InitReport FakeMachine::init(const FrameSetup& setup, const StitchModes& modes) {
    lines_.take();
    InitReport report;
    report.ready = engine_->initJoint(setup, modes);
    Spoken spoken = lines_.take();
    report.output = std::move(spoken.output);
    report.debug = std::move(spoken.debug);
    return report;
}

Lines FakeMachine::tearDownLines() {
    lines_.take();
    EXPECT_TRUE(engine_->uinitJoint());
    return lines_.take().outputLines();
}

Lines FakeMachine::trace() const {
    std::ifstream file(directory_.path() / "trace");
    Lines lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

Lines FakeMachine::traceOf(const std::string& function) const {
    Lines details;
    for (const std::string& line : trace())
        if (line.compare(0, function.size() + 1, function + " ") == 0)
            details.push_back(line.substr(function.size() + 1));
    return details;
}

std::size_t FakeMachine::callsOf(const std::string& function) const {
    std::size_t calls = 0;
    for (const std::string& line : trace())
        calls += line == function || line.compare(0, function.size() + 1, function + " ") == 0 ? 1 : 0;
    return calls;
}

void FakeMachine::forget() const {
    std::filesystem::remove(directory_.path() / "trace");
}

std::string FakeMachine::kernelText() {
    return contentsOf(BRANTEL_CL_BIN);
}

}  // namespace brantel::test
