// What the CUDA compiler made of the kernels: stand-ins for the calls with which its object file introduces
// itself to the runtime show every kernel under its signature, and that the handle which C++ uses is the one
// introduced.
#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdlib>
#include <map>
#include <string>

#include "cuda/driver/kernel_names.h"
#include "gpu/kernels.h"

namespace {

/// Device name by host handle.
std::map<const void*, std::string>& registered() {
    static std::map<const void*, std::string> all;
    return all;
}

std::string demangled(const std::string& name) {
    int status = 0;
    char* text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status);
    std::string result = text != nullptr ? text : name;
    std::free(text);
    return result;
}

template <class T>
std::string nameOf() {
    if (std::is_same_v<T, unsigned char*>) return "unsigned char*";
    return std::is_same_v<T, float*> ? "float*" : "int";
}

template <class... P>
std::string signatureOf(const char* name, void (* /*kernel*/)(P...)) {
    std::string parameters;
    ((parameters += (parameters.empty() ? "" : ", ") + nameOf<P>()), ...);
    return std::string(name) + "(" + parameters + ")";
}

TEST(CudaKernels, AllAreRegisteredUnderTheirSignatures) {
    std::map<std::string, const void*> expected;
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define KERNEL_ENTRY(name, parameters) \
    expected[signatureOf(#name, name)] = reinterpret_cast<const void*>(&name);
#include "gpu/kernel_list.inc"
    ASSERT_EQ(expected.size(), 41U);
    EXPECT_EQ(registered().size(), 41U);
    for (const auto& [signature, handle] : expected) {
        ASSERT_EQ(registered().count(handle), 1U) << signature;
        EXPECT_EQ(demangled(registered()[handle]), signature);
    }
}

TEST(CudaKernels, BearTheNamesThatTheDriverIsAskedFor) {
    const auto& names = brantel::cuda_driver::kernelNames();
    EXPECT_EQ(registered().size(), names.size());
    for (const auto& kernel : names) EXPECT_EQ(registered()[kernel.handle], kernel.text);
}

}  // namespace

// The runtime's side, as far as the object file needs it. Nothing of it may be called but the registration.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void** __cudaRegisterFatBinary(void* /*fatCubin*/) {
    static void* handle = nullptr;
    return &handle;
}
void __cudaRegisterFatBinaryEnd(void** /*handle*/) {}
void __cudaUnregisterFatBinary(void** /*handle*/) {}
void __cudaRegisterFunction(void** /*handle*/, const char* hostFunction, char* /*deviceFunction*/,
                            const char* deviceName, int /*threadLimit*/, void* /*tid*/, void* /*bid*/,
                            void* /*blockDim*/, void* /*gridDim*/, int* /*warpSize*/) {
    registered()[hostFunction] = deviceName;
}
void __cudaPopCallConfiguration() {
    std::abort();
}
void __cudaGetKernel() {
    std::abort();
}
void __cudaLaunchKernel() {
    std::abort();
}
void cudaLaunchKernel() {
    std::abort();
}
}
// NOLINTEND(bugprone-reserved-identifier)
