// The runtime's calls over a driver that works, or stops working: contexts, threads, kernels.
#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <thread>

#include "cuda/emulated_cuda.h"
#include "cuda_driver/fake_driver.h"
#include "gpu/kernels.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {
namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

class DriverUse : public testing::Test {
  protected:
    void SetUp() override {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        emulated_cuda::reset();
        fake_driver::setFaults({});
        int count = 0;
        ASSERT_EQ(cudaGetDeviceCount(&count), cudaSuccess);
    }
    void TearDown() override {
        EXPECT_EQ(emulated_cuda::violations(), Lines{});
        EXPECT_EQ(emulated_cuda::liveBlocks(), 0U);
        EXPECT_EQ(fake_driver::contextDepth(), 0);
        EXPECT_LE(fake_driver::contextsRetained(), 1);
        EXPECT_LE(fake_driver::modulesLoaded(), 1);
    }
};

/// Grey of one pixel, computed on the device; 256 and more are errors.
int greyOnDevice(unsigned char blue, unsigned char green, unsigned char red) {
    Bytes pixel = {blue, green, red, 0};
    void* at = nullptr;
    if (cudaMalloc(&at, 4) != cudaSuccess) return 256;
    unsigned char* source = static_cast<unsigned char*>(at);
    unsigned char* target = source + 3;
    int one = 1;
    void* arguments[] = {&source, &one, &one, &target};
    int error = cudaMemcpy(at, pixel.data(), 4, cudaMemcpyHostToDevice);
    if (error == 0)
        error = cudaLaunchKernel(reinterpret_cast<const void*>(rgb2GaryKernel), dim3(1), dim3(1), arguments,
                                 0, nullptr);
    if (error == 0) error = cudaMemcpy(pixel.data(), at, 4, cudaMemcpyDeviceToHost);
    if (cudaFree(at) != cudaSuccess) return 257;
    return error != 0 ? 1000 + error : pixel[3];
}

/// The library as a host sees it, on a driver with these faults.
class Host {
  public:
    explicit Host(const fake_driver::Faults& faults) {
        fake_driver::setFaults(faults);
        const Picture picture = makePicture(Texture::fine, 300, 400, 3, 8);
        first_ = picture.window(20, 20, 160, 210);
        second_ = picture.window(70, 60, 160, 210);
        const Lines lines = captureLines([&] {
            SessionOptions options{160, 210, 3};
            options.forceCpu = false;
            session_ = std::make_unique<Session>(options);
        });
        init_ = {session_->ready() ? 0 : -1, lines};
    }
    /// What a call gives and says; a stitch call's is printed for the parent.
    struct Answer {
        int result;
        Lines lines;
        bool says(const char* line) const { return std::count(lines.begin(), lines.end(), line) == 1; }
    };
    const Answer& init() const { return init_; }
    Answer stitch() {
        StitchOutputs out;
        const Lines lines = captureLines([&] { out = session_->start(first_, second_); });
        for (const std::string& line : lines) std::fprintf(stderr, "%d %s\n", out.result, line.c_str());
        return {out.result, lines};
    }
    void end() {
        captureOutput([this] { session_.reset(); });
    }

  private:
    Frame first_, second_;
    std::unique_ptr<Session> session_;
    Answer init_{};
};

TEST_F(DriverUse, EveryThreadGetsTheSameContextWhileItCalls) {
    std::vector<int> greys(8 * 50);
    std::vector<int> depths(8, -1);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t i = 50 * t; i < 50 * (t + 1); ++i) greys[i] = greyOnDevice(0, 0, i % 256);
            depths[t] = fake_driver::contextDepth();
        });
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < greys.size(); ++i)
        EXPECT_EQ(greys[i], static_cast<int>((299 * (i % 256) + 500) / 1000));
    EXPECT_EQ(depths, std::vector<int>(8, 0));
    EXPECT_EQ(fake_driver::contextsRetained(), 1);
    EXPECT_EQ(fake_driver::modulesLoaded(), 1);
}

TEST_F(DriverUse, TheHostsOwnContextStaysCurrent) {
    int object = 0;
    const auto own = reinterpret_cast<cuda_driver::Context>(&object);
    ASSERT_EQ(cuda_driver::cuCtxPushCurrent_v2(own), 0);
    EXPECT_EQ(greyOnDevice(0, 255, 0), 150);
    EXPECT_EQ(fake_driver::contextDepth(), 1);
    Host host({});
    EXPECT_EQ(host.stitch().result, 0);
    host.end();
    EXPECT_EQ(fake_driver::contextDepth(), 1);
    cuda_driver::Context top = nullptr;
    ASSERT_EQ(cuda_driver::cuCtxPopCurrent_v2(&top), 0);
    EXPECT_EQ(top, own);
}

TEST_F(DriverUse, ThereIsNoOtherDeviceThanTheFirst) {
    int device = 7;
    EXPECT_EQ(cudaGetDevice(&device), cudaSuccess);
    EXPECT_EQ(device, 0);
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
    EXPECT_EQ(cudaSetDevice(1), cudaErrorInvalidDevice);
    EXPECT_EQ(fake_driver::contextDepth(), 0);
}

TEST_F(DriverUse, CopiesOfAllDirectionsAndShapes) {
    Bytes out(12), in(12);
    std::iota(out.begin(), out.end(), static_cast<unsigned char>(1));
    void* a = nullptr;
    void* b = nullptr;
    ASSERT_EQ(cudaMalloc(&a, 12), cudaSuccess);
    ASSERT_EQ(cudaMalloc(&b, 12), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(a, out.data(), 12, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(b, a, 12, cudaMemcpyDeviceToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(in.data(), b, 12, cudaMemcpyDeviceToHost), cudaSuccess);
    EXPECT_EQ(in, out);
    EXPECT_EQ(cudaMemset(b, 0x107, 12), cudaSuccess);
    EXPECT_EQ(cudaMemcpy2D(b, 3, a, 4, 2, 3, cudaMemcpyDeviceToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(in.data(), b, 12, cudaMemcpyDeviceToHost), cudaSuccess);
    EXPECT_EQ(in, (Bytes{1, 2, 7, 5, 6, 7, 9, 10, 7, 7, 7, 7}));
    EXPECT_EQ(cudaMemcpy(in.data(), out.data(), 12, cudaMemcpyHostToHost), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpy2D(in.data(), 3, a, 4, 2, 3, cudaMemcpyDeviceToHost), cudaErrorInvalidValue);
    EXPECT_EQ(cudaFree(a), cudaSuccess);
    EXPECT_EQ(cudaFree(b), cudaSuccess);
}

TEST_F(DriverUse, RefusedAllocationsLeaveThePointerAlone) {
    emulated_cuda::Faults faults;
    for (faults.allocation = 0; faults.allocation < 2; ++faults.allocation) {
        emulated_cuda::setFaults(faults);
        void* device = &faults;
        void* host = &faults;
        EXPECT_EQ(cudaMalloc(&device, 10), faults.allocation == 0 ? cudaErrorMemoryAllocation : cudaSuccess);
        EXPECT_EQ(cudaHostAlloc(&host, 10, 0),
                  faults.allocation == 1 ? cudaErrorMemoryAllocation : cudaSuccess);
        EXPECT_EQ(device == &faults, faults.allocation == 0);
        EXPECT_EQ(host == &faults, faults.allocation == 1);
        if (device != &faults) {
            EXPECT_EQ(cudaFree(device), cudaSuccess);
        }
        if (host != &faults) {
            EXPECT_EQ(cudaFreeHost(host), cudaSuccess);
        }
    }
}

TEST_F(DriverUse, WhatIsNoKernelIsNotLaunched) {
    void* arguments[] = {nullptr};
    EXPECT_EQ(cudaLaunchKernel(&arguments, dim3(1), dim3(1), arguments, 0, nullptr),
              cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaLaunchKernel(nullptr, dim3(1), dim3(1), arguments, 0, nullptr),
              cudaErrorInvalidDeviceFunction);
    EXPECT_TRUE(emulated_cuda::launches().empty());
}

/// Such tests need a driver that was not used before: each ends a process of its own.
[[noreturn]] void endChild(bool success) {
    for (const std::string& violation : emulated_cuda::violations())
        std::fprintf(stderr, "%s\n", violation.c_str());
    std::_Exit(success && emulated_cuda::violations().empty() && emulated_cuda::liveBlocks() == 0 ? 0 : 1);
}

using DriverUseDeathTest = DriverUse;

TEST_F(DriverUseDeathTest, WhereTheCodeDoesNotLoadTheProcessorStitches) {
    const auto child = [] {
        fake_driver::Faults faults;
        faults.loadError = 209;  // no code for this device
        Host host(faults);
        const auto onProcessor = host.stitch();
        const bool nothing = emulated_cuda::liveBlocks() == 0 && emulated_cuda::launches().empty() &&
                             fake_driver::modulesLoaded() == 0;
        host.end();
        Host repaired({});
        const auto onDevice = repaired.stitch();
        repaired.end();
        endChild(host.init().result == 0 &&
                 host.init().says("CUDA trial failed: CUDA kernel launch failed with error 209") && nothing &&
                 onProcessor.result == 0 && onDevice.result == 0 && !emulated_cuda::launches().empty());
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST_F(DriverUseDeathTest, AMissingKernelFailsItsLaunch) {
    const auto child = [] {
        fake_driver::Faults faults;
        faults.missingKernel = "rgb2GaryKernel2";  // the second worker's
        Host host(faults);
        const auto failed = host.stitch();
        fake_driver::setFaults({});
        const auto repaired = host.stitch();
        host.end();
        endChild(host.init().result == 0 && fake_driver::modulesLoaded() == 1 && failed.result == -1 &&
                 failed.says("worker job failed: CUDA kernel launch failed with error 500") &&
                 repaired.result == 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST_F(DriverUseDeathTest, WithoutAContextTheProcessorStitches) {
    const auto child = [] {
        fake_driver::Faults faults;
        faults.contextError = 2;
        Host host(faults);
        const auto onProcessor = host.stitch();
        const bool nothing = emulated_cuda::allocations().empty() && fake_driver::contextsRetained() == 0;
        host.end();
        Host repaired({});
        const int result = repaired.stitch().result;
        repaired.end();
        endChild(host.init().says("CUDA initialisation failed: CUDA device selection failed with error 2") &&
                 nothing && onProcessor.result == 0 && result == 0 && fake_driver::contextsRetained() == 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace brantel::test
