// Every kernel of cl.bin on the device against the reference, bit for bit.
#include <algorithm>
#include <cstring>

#include "gpu/launches.h"
#include "gpu/reference.h"
#include "opencl/fake_machine.h"
#include "opencl/run_kernel.h"

namespace brantel::test {

namespace {

using gpu_test::Contents;
using gpu_test::KnownLaunch;
using gpu_test::Launch;

class OpenClKernels : public FakeMachine {
  protected:
    void SetUp() override {
        FakeMachine::SetUp();
        if (IsSkipped()) return;
        ASSERT_TRUE(init().ready);
        unsetenv("FAKE_CL_TRACE");
    }

    cl_kernel kernelNamed(const std::string& name) {
        for (std::size_t i = 0; i < engine().device.kernels.handles.size(); ++i)
            if (name == nameOf(static_cast<ClKernel>(i))) return engine().device.kernels.handles[i];
        return nullptr;
    }

    /// Runs a launch under an OpenCL name and returns its buffers afterwards.
    std::vector<Contents> run(const Launch& launch, const std::string& name) {
        const ClDevice& device = engine().device;
        const cl_kernel kernel = kernelNamed(name);
        std::vector<Contents> after = launch.buffers;
        std::vector<cl_mem> buffers;
        for (Contents& contents : after)
            buffers.push_back(clApi()->clCreateBuffer(device.clContext,
                                                      CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR,
                                                      std::max<std::size_t>(contents.size(), 1),
                                                      contents.empty() ? &empty_ : contents.data(), nullptr));
        cl_uint index = 0;
        for (const gpu_test::Argument& argument : launch.arguments) {
            const cl_int number = argument.value;
            const cl_mem buffer = argument.isBuffer ? buffers[static_cast<std::size_t>(number)] : nullptr;
            EXPECT_EQ(argument.isBuffer ? clApi()->clSetKernelArg(kernel, index, sizeof buffer, &buffer)
                                        : clApi()->clSetKernelArg(kernel, index, sizeof number, &number),
                      CL_SUCCESS)
                << name << ", argument " << index;
            ++index;
        }
        EXPECT_EQ(enqueueTiles(device, kernel, {launch.rows, launch.columns}), CL_SUCCESS) << name;
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            const auto bytes = static_cast<std::int64_t>(after[i].size());
            EXPECT_TRUE(bytes == 0 || readBuffer(device, buffers[i], after[i].data(), bytes));
            clApi()->clReleaseMemObject(buffers[i]);
        }
        return after;
    }

    void compare(const Launch& launch) {
        for (const std::string& name : gpu_test::openclNames(launch.kernel))
            EXPECT_EQ(gpu_test::mismatch(launch, run(launch, name)), "")
                << name << " over " << launch.rows << " x " << launch.columns;
    }

  private:
    static inline unsigned char empty_ = 0;
};

class OpenClKernelsOnSize : public OpenClKernels,
                            public ::testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(OpenClKernelsOnSize, ComputeWhatTheReferenceComputes) {
    const auto [rows, cols] = GetParam();
    const auto seed = static_cast<unsigned>(1000 * rows + cols);
    for (const Launch& launch : gpu_test::randomLaunches(rows, cols, seed)) compare(launch);
}
INSTANTIATE_TEST_SUITE_P(Sizes, OpenClKernelsOnSize, ::testing::ValuesIn(gpu_test::testSizes()),
                         [](const auto& size) {
                             return std::to_string(size.param.first) + "x" +
                                    std::to_string(size.param.second);
                         });

TEST_F(OpenClKernels, GiveTheKnownResults) {
    for (const KnownLaunch& known : gpu_test::knownLaunches())
        for (const std::string& name : gpu_test::openclNames(known.launch.kernel))
            EXPECT_EQ(run(known.launch, name), known.after) << name << ": " << known.what;
}

TEST_F(OpenClKernels, AreAllCovered) {
    Lines launched;
    for (const Launch& launch : gpu_test::randomLaunches(9, 14, 1))
        for (const std::string& name : gpu_test::openclNames(launch.kernel)) launched.push_back(name);
    for (std::size_t i = 0; i < engine().device.kernels.handles.size(); ++i)
        EXPECT_GT(std::count(launched.begin(), launched.end(), nameOf(static_cast<ClKernel>(i))), 0)
            << nameOf(static_cast<ClKernel>(i));
}

}  // namespace

}  // namespace brantel::test
