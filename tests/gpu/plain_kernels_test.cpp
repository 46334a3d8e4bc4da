// The kernels as plain C++ against the reference (under the sanitizers: every access, too).
#include <gtest/gtest.h>

#include <algorithm>

#include "gpu/launches.h"
#include "gpu/plain_kernels.h"
#include "gpu/reference.h"

namespace gpu_test {

namespace {

const PlainKernel& plainKernel(const std::string& name) {
    const auto& all = plainKernels();
    return *std::find_if(all.begin(), all.end(), [&](const PlainKernel& k) { return k.name == name; });
}

std::vector<Contents> run(const Launch& launch, bool reverse) {
    const auto blocks = [](int extent, int block) {
        return static_cast<unsigned>((extent + block - 1) / block);
    };
    const Extent grid{blocks(launch.columns, launch.blockColumns), blocks(launch.rows, 32)};
    const Extent block{static_cast<unsigned>(launch.blockColumns), 32};
    return runOnCopy(
        launch, [&](void** values) { runGrid(plainKernel(launch.kernel), grid, block, values, reverse); });
}

TEST(PlainKernels, AreFortyOne) {
    EXPECT_EQ(plainKernels().size(), 41U);
}

TEST(PlainKernels, AreAllCoveredByTheRandomLaunches) {
    std::vector<std::string> launched;
    for (const Launch& launch : randomLaunches(9, 14, 1)) launched.push_back(launch.kernel);
    for (const PlainKernel& kernel : plainKernels())
        EXPECT_EQ(std::count(launched.begin(), launched.end(), kernel.name) > 0, true) << kernel.name;
}

TEST(PlainKernels, ComputeWhatTheReferenceComputesOnEverySize) {
    unsigned seed = 1;
    for (const auto& [rows, cols] : testSizes())
        for (const Launch& launch : randomLaunches(rows, cols, seed++))
            EXPECT_EQ(mismatch(launch, run(launch, false)), "")
                << launch.kernel << " on " << rows << " x " << cols;
}

TEST(PlainKernels, DoNotDependOnTheOrderOfThreads) {
    for (const Launch& launch : randomLaunches(33, 47, 99))
        EXPECT_EQ(mismatch(launch, run(launch, true)), "") << launch.kernel;
}

TEST(PlainKernels, GiveTheKnownResults) {
    for (const KnownLaunch& known : knownLaunches()) {
        EXPECT_EQ(run(known.launch, false), known.after) << known.launch.kernel << ": " << known.what;
        EXPECT_EQ(mismatch(known.launch, known.after), "") << known.launch.kernel << ": " << known.what;
    }
}

TEST(OpenClNames, AreThirtySix) {
    std::vector<std::string> names;
    for (const PlainKernel& kernel : plainKernels())
        for (const std::string& name : openclNames(kernel.name)) names.push_back(name);
    EXPECT_EQ(names.size(), 36U);
}

}  // namespace

}  // namespace gpu_test
