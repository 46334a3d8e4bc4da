// The kernels and whole streams on a real device. Ends with 77 (skipped) where there is none.
#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

#include "gpu/kernels.h"
#include "gpu/launches.h"
#include "gpu/reference.h"
#include "support/camera_path.h"
#include "support/output_capture.h"

namespace {

using gpu_test::Contents;
using gpu_test::Launch;

const void* handleOf(const std::string& name) {
    static const std::map<std::string, const void*> handles = {
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define KERNEL_ENTRY(name, parameters) {#name, reinterpret_cast<const void*>(&name)},
#include "gpu/kernel_list.inc"
    };
    return handles.at(name);
}

/// A launch's buffers on the device.
class DeviceBuffers {
  public:
    explicit DeviceBuffers(const std::vector<Contents>& contents) {
        for (const Contents& one : contents) {
            void* at = nullptr;
            EXPECT_EQ(cudaMalloc(&at, one.size()), cudaSuccess);
            EXPECT_EQ(cudaMemcpy(at, one.data(), one.size(), cudaMemcpyHostToDevice), cudaSuccess);
            pointers.push_back(at);
        }
    }
    DeviceBuffers(const DeviceBuffers&) = delete;
    DeviceBuffers& operator=(const DeviceBuffers&) = delete;
    ~DeviceBuffers() {
        for (void* at : pointers) cudaFree(at);
    }
    std::vector<Contents> fetch(std::vector<Contents> like) const {
        for (std::size_t i = 0; i < like.size(); ++i)
            EXPECT_EQ(cudaMemcpy(like[i].data(), pointers[i], like[i].size(), cudaMemcpyDeviceToHost),
                      cudaSuccess);
        return like;
    }

    std::vector<void*> pointers;
};

std::vector<Contents> runOnDevice(Launch launch) {
    DeviceBuffers device(launch.buffers);
    std::vector<void*> arguments;
    for (gpu_test::Argument& argument : launch.arguments)
        arguments.push_back(
            argument.isBuffer ? static_cast<void*>(&device.pointers[static_cast<std::size_t>(argument.value)])
                              : &argument.value);
    const auto blocks = [](int extent, int block) {
        return static_cast<unsigned>((extent + block - 1) / block);
    };
    const dim3 grid(blocks(launch.columns, launch.blockColumns), blocks(launch.rows, 32));
    const dim3 block(static_cast<unsigned>(launch.blockColumns), 32);
    EXPECT_EQ(cudaLaunchKernel(handleOf(launch.kernel), grid, block, arguments.data(), 0, nullptr),
              cudaSuccess)
        << launch.kernel;
    return device.fetch(launch.buffers);
}

TEST(DeviceKernels, ComputeWhatTheReferenceComputesOnEverySize) {
    unsigned seed = 1;
    for (const auto& [rows, cols] : gpu_test::testSizes())
        for (const Launch& launch : gpu_test::randomLaunches(rows, cols, seed++))
            EXPECT_EQ(gpu_test::mismatch(launch, runOnDevice(launch)), "")
                << launch.kernel << " on " << rows << " x " << cols;
}

TEST(DeviceKernels, GiveTheKnownResults) {
    for (const gpu_test::KnownLaunch& known : gpu_test::knownLaunches()) {
        const std::vector<Contents> after = runOnDevice(known.launch);
        if (known.launch.kernel == "getRowRangeKernel") {
            EXPECT_EQ(gpu_test::mismatch(known.launch, after), "");  // any value of a row may win
        } else {
            EXPECT_EQ(after, known.after) << known.launch.kernel << ": " << known.what;
        }
    }
}

/// (main mode, channels)
class DeviceStream : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {};

TEST_P(DeviceStream, FollowsTheCameraWithCudaChosen) {
    using namespace brantel::test;
    const auto [mode, channels] = GetParam();
    const Picture picture = makePicture(Texture::fine, 1400, 2000, channels, 8);
    const Path path = serpentinePath({10, 10}, 300, 220, 4, 3);
    SessionOptions options{480, 640, channels};
    options.mainMode = mode;
    options.forceCpu = false;
    FollowReport report;
    const auto debug = captureDebugLines([&] {
        captureOutput([&] {
            Session session(options);
            ASSERT_TRUE(session.ready());
            report = follow(session, picture, path, options.rows, options.cols);
        });
    });
    EXPECT_EQ(std::count(debug.begin(), debug.end(), "use CUDA"), 1);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
}

INSTANTIATE_TEST_SUITE_P(ModesAndChannels, DeviceStream,
                         testing::Combine(testing::Values(0, 1), testing::Values(1, 3)));

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    int count = 0;
    if (cudaGetDeviceCount(&count) != cudaSuccess || count == 0) {
        std::puts("no CUDA device: nothing was tested");
        return 77;
    }
    return RUN_ALL_TESTS();
}
