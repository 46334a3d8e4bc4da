// A host that uses another device than the library does: each keeps its own.
#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "api/process_log.h"
#include "cuda/emulated_cuda.h"
#include "cuda/state.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::int32_t rows = 160;
constexpr std::int32_t cols = 210;

int currentDevice() {
    int device = -1;
    EXPECT_EQ(cudaGetDevice(&device), cudaSuccess);
    return device;
}

class CudaCurrentDevice : public testing::Test {
  protected:
    void SetUp() override {
        emulated_cuda::setFaults(twoDevices());
        ASSERT_EQ(cudaSetDevice(1), cudaSuccess);
    }
    void TearDown() override {
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
        emulated_cuda::reset();
        EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
    }
    static emulated_cuda::Faults twoDevices() {
        emulated_cuda::Faults faults;
        faults.deviceMiB = {8192, 8192};
        return faults;
    }
};

TEST_F(CudaCurrentDevice, IsTheHostsOwnAfterEveryCall) {
    const Picture picture = makePicture(Texture::fine, 400, 500, 3, 8);
    for (const std::int32_t mode : {0, 1})
        captureOutput([&] {
            SessionOptions options{rows, cols, 3};
            options.mainMode = mode;
            options.forceCpu = false;
            Session session(options);
            EXPECT_EQ(currentDevice(), 1);
            Frame first = picture.window(20, 20, rows, cols);
            EXPECT_EQ(session.start(first, picture.window(80, 70, rows, cols)).result, 0);
            EXPECT_EQ(currentDevice(), 1);
            EXPECT_EQ(session.next(picture.window(140, 120, rows, cols)).result, 0);
            EXPECT_EQ(currentDevice(), 1);
            session.close();
            EXPECT_EQ(currentDevice(), 1);
        });
    EXPECT_FALSE(emulated_cuda::launches().empty());
}

TEST_F(CudaCurrentDevice, IsTheHostsOwnAfterAFailedInitialisation) {
    emulated_cuda::Faults faults = twoDevices();
    faults.allocation = 3;
    emulated_cuda::setFaults(faults);
    captureOutput([] {
        CudaEngine engine(processLogSink());
        EXPECT_FALSE(engine.initJoint({rows, cols, 3, 1, 20000, 20000}, {}));
    });
    EXPECT_EQ(currentDevice(), 1);
}

// One that is another process's alone, for instance.
TEST_F(CudaCurrentDevice, ADeviceThatCannotBeSelectedIsNotChosen) {
    emulated_cuda::Faults faults = twoDevices();
    faults.busyDevice = 0;
    emulated_cuda::setFaults(faults);
    SessionOptions options{rows, cols, 3};
    options.forceCpu = false;
    std::unique_ptr<Session> session;
    const Lines lines = captureLines([&] { session = std::make_unique<Session>(options); });
    EXPECT_TRUE(session->ready());
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "CUDA initialisation failed: CUDA device selection failed with error 101"),
              1);
    EXPECT_TRUE(emulated_cuda::allocations().empty());
    captureOutput([&] { session.reset(); });
    EXPECT_EQ(currentDevice(), 1);
}

}  // namespace
}  // namespace brantel::test
