// The list of kernels that the backend looks up in the driver, and the machine code embedded for it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

#include "cuda/driver/fat_binary.h"
#include "cuda/driver/kernel_names.h"
#include "gpu/kernels.h"

namespace brantel::cuda_driver {
namespace {

TEST(DriverKernels, EachHasAHandleAndANameOfItsOwn) {
    std::set<const void*> handles;
    std::set<std::string> names;
    for (const KernelName& kernel : kernelNames()) {
        handles.insert(kernel.handle);
        names.insert(kernel.text);
    }
    EXPECT_EQ(kernelNames().size(), 41U);
    EXPECT_EQ(handles.size(), 41U);
    EXPECT_EQ(names.size(), 41U);
}

std::string nameOf(const void* handle) {
    for (const KernelName& kernel : kernelNames())
        if (kernel.handle == handle) return kernel.text;
    return "";
}
template <class... P>
std::string nameOf(void (*kernel)(P...)) {
    return nameOf(reinterpret_cast<const void*>(kernel));
}

TEST(DriverKernels, AreNamedLikeTheDeviceCode) {
    EXPECT_EQ(nameOf(rgb2GaryKernel), "_Z14rgb2GaryKernelPhiiS_");
    EXPECT_EQ(nameOf(rgb2GaryFloatTwoCh1Kernel), "_Z25rgb2GaryFloatTwoCh1KernelPhS_iiPfS0_");
    EXPECT_EQ(nameOf(findGradSquareCrossTermsKernel), "_Z30findGradSquareCrossTermsKernelPhiiPfS0_S0_");
    EXPECT_EQ(nameOf(getWeightImageKernel), "_Z20getWeightImageKernelPfS_iiPh");
    EXPECT_EQ(nameOf(getFusionImageKernelCh3), "_Z23getFusionImageKernelCh3PhS_S_iiS_");
    EXPECT_EQ(nameOf(getRowRangeKernel), "_Z17getRowRangeKernelPhiiiiiiS_");
}

// The number behind the header's magic, version and own size counts the bytes that follow the header.
std::string embeddedCode() {
    std::uint16_t headerSize = 0;
    std::uint64_t size = 0;
    std::memcpy(&headerSize, fatBinary + 6, sizeof headerSize);
    std::memcpy(&size, fatBinary + 8, sizeof size);
    return {reinterpret_cast<const char*>(fatBinary), headerSize + static_cast<std::size_t>(size)};
}

TEST(DriverKernels, AreAllInTheEmbeddedCode) {
    const std::string code = embeddedCode();
    EXPECT_GE(fatBinaryVersion, 9000);
    for (const KernelName& kernel : kernelNames()) {
        const std::string section = std::string(".text.") + kernel.text;
        // With the terminator: a name that only begins like this is another kernel's.
        EXPECT_NE(code.find(section.c_str(), 0, section.size() + 1), std::string::npos) << kernel.text;
    }
    std::set<std::string> found;
    for (std::size_t at = code.find(".text._Z"); at != std::string::npos; at = code.find(".text._Z", at + 1))
        found.insert(code.c_str() + at);
    EXPECT_EQ(found.size(), kernelCount);
}

}  // namespace
}  // namespace brantel::cuda_driver
