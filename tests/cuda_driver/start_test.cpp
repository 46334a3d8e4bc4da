// Machines on which the driver's library is missing, incomplete, too old or does not start.
#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "api/process_log.h"
#include "cuda/driver/fat_binary.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "cuda_driver/fake_driver.h"
#include "gpu/kernels.h"
#include "support/output_capture.h"
#include "support/session.h"

namespace {

std::vector<std::string> openedLibraries;
bool libraryMissing = false;
std::string missingEntry;

}  // namespace

// The linker puts these between the library and the loader (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_dlopen(const char* name, int flags);
void* __real_dlsym(void* library, const char* name);

void* __wrap_dlopen(const char* name, int flags) {
    openedLibraries.emplace_back(name);
    return libraryMissing ? nullptr : __real_dlopen(name, flags);
}
void* __wrap_dlsym(void* library, const char* name) {
    return missingEntry == name ? nullptr : __real_dlsym(library, name);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;

constexpr FrameSetup small{60, 90, 3, 1, 20000, 20000};

class DriverStart : public testing::Test {
  protected:
    void SetUp() override {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        emulated_cuda::reset();
        fake_driver::setFaults({});
    }
    void TearDown() override { EXPECT_EQ(emulated_cuda::violations(), Lines{}); }
};

/// What the library looks for is found out once per process: such tests end one each.
[[noreturn]] void endWith(bool success) {
    std::_Exit(success ? 0 : 1);
}

bool saysThereIsNoDevice() {
    CudaEngine engine(processLogSink());
    bool started = true;
    const Lines lines = captureLines([&] { started = engine.initJoint(small, {}); });
    const Lines ends = captureLines([&] { engine.uinitJoint(); });
    return !started && lines == Lines{"have no cuda device"} &&
           ends == Lines{"pthread_join cuda_one_pid failed", "pthread_join cuda_two_pid failed"} &&
           emulated_cuda::allocations().empty();
}

bool everyCallFails() {
    int count = 7;
    void* at = &count;
    char bytes[4] = {};
    cudaDeviceProp properties{5};
    const cudaError_t codes[] = {
        cudaGetDeviceCount(&count),
        cudaGetDeviceProperties(&properties, 0),
        cudaGetDevice(&count),
        cudaSetDevice(0),
        cudaMalloc(&at, 4),
        cudaFree(bytes),
        cudaHostAlloc(&at, 4, cudaHostAllocDefault),
        cudaFreeHost(bytes),
        cudaMemcpy(bytes, bytes, 4, cudaMemcpyHostToDevice),
        cudaMemcpy2D(bytes, 2, bytes, 2, 2, 2, cudaMemcpyDeviceToDevice),
        cudaMemset(bytes, 0, 4),
        cudaLaunchKernel(reinterpret_cast<const void*>(rgb2GaryKernel), dim3(1), dim3(1), &at, 0, nullptr)};
    for (const cudaError_t code : codes)
        if (code == cudaSuccess) return false;
    return at == &count && count == 7 && properties.totalGlobalMem == 5;
}

/// Through the exported functions, with the debugger's lines as witness.
bool theProcessorTakesOver() {
    bool ready = false;
    const Lines lines = captureDebugLines([&] {
        captureOutput([&] {
            SessionOptions options{60, 90, 3};
            options.forceCpu = false;
            ready = Session(options).ready();
        });
    });
    return ready && std::count(lines.begin(), lines.end(), "use CPU") == 1;
}

using DriverStartDeathTest = DriverStart;

TEST_F(DriverStartDeathTest, WithoutTheLibraryThereIsNoDevice) {
    const auto child = [] {
        libraryMissing = true;
        endWith(saysThereIsNoDevice() && everyCallFails() && theProcessorTakesOver() &&
                openedLibraries.front() == "libcuda.so.1");
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

class DriverEntry : public testing::TestWithParam<const char*> {};
using DriverEntryDeathTest = DriverEntry;

TEST_P(DriverEntryDeathTest, MissingMeansNoDevice) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto child = [] {
        missingEntry = GetParam();
        endWith(saysThereIsNoDevice() && everyCallFails());
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

#define BRANTEL_ENTRY_NAME(name, parameters) #name,
const char* const entryNames[] = {BRANTEL_CUDA_DRIVER_FUNCTIONS(BRANTEL_ENTRY_NAME)};
#undef BRANTEL_ENTRY_NAME
INSTANTIATE_TEST_SUITE_P(Each, DriverEntryDeathTest, testing::ValuesIn(entryNames));

TEST_F(DriverStart, ADriverThatDoesNotStartIsNoDevice) {
    for (const int error : {1, 100, 803, 999}) {
        fake_driver::Faults faults;
        faults.initError = error;
        fake_driver::setFaults(faults);
        EXPECT_TRUE(saysThereIsNoDevice()) << error;
        int count = 7;
        EXPECT_EQ(cudaGetDeviceCount(&count), error);
        EXPECT_EQ(count, 7);
    }
    EXPECT_TRUE(theProcessorTakesOver());
}

TEST_F(DriverStart, ADriverThatDoesNotKnowTheKernelsCodeIsNoDevice) {
    fake_driver::Faults faults;
    faults.version = cuda_driver::fatBinaryVersion - 10;
    fake_driver::setFaults(faults);
    EXPECT_TRUE(saysThereIsNoDevice());
    int count = 0;
    EXPECT_EQ(cudaGetDeviceCount(&count), cudaErrorInsufficientDriver);
    faults.version = cuda_driver::fatBinaryVersion;
    fake_driver::setFaults(faults);
    EXPECT_EQ(cudaGetDeviceCount(&count), cudaSuccess);
    EXPECT_EQ(count, 1);
}

TEST_F(DriverStart, WithoutDevicesThereIsNone) {
    emulated_cuda::Faults faults;
    faults.deviceMiB = {};
    emulated_cuda::setFaults(faults);
    EXPECT_TRUE(saysThereIsNoDevice());
}

TEST_F(DriverStart, AnotherStartFindsWhatHasComeMeanwhile) {
    fake_driver::Faults faults;
    faults.initError = 999;
    fake_driver::setFaults(faults);
    EXPECT_TRUE(saysThereIsNoDevice());
    fake_driver::setFaults({});
    captureOutput([] {
        CudaEngine engine(processLogSink());
        EXPECT_TRUE(engine.initJoint(small, {}));
        engine.uinitJoint();
    });
    EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
}

}  // namespace
}  // namespace brantel::test
