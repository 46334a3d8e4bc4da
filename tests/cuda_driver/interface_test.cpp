// Our declarations of the driver's functions beside the toolkit's.
#include <cuda.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "cuda/driver/driver_api.h"

namespace brantel::cuda_driver {
namespace {

template <class T>
std::string shapeOf() {
    if (std::is_pointer_v<T>) return "p";
    return (std::is_signed_v<T> ? "s" : "u") + std::to_string(sizeof(T));
}

/// How a function takes its arguments and gives its result, as far as calls go.
template <class R, class... P>
std::vector<std::string> shapesOf(R(CUDAAPI* /*function*/)(P...)) {
    static_assert(sizeof(R) == sizeof(int), "a result");
    return {shapeOf<P>()...};
}

TEST(DriverInterface, FunctionsTakeWhatTheToolkitDeclares) {
    // By type alone: there is no driver to link with.
#define BRANTEL_COMPARE(name, parameters) \
    EXPECT_EQ(shapesOf(DriverApi{}.name), shapesOf(decltype(&::name){nullptr})) << #name;
    BRANTEL_CUDA_DRIVER_FUNCTIONS(BRANTEL_COMPARE)
#undef BRANTEL_COMPARE
}

TEST(DriverInterface, TheCopyLiesInMemoryAsTheToolkitDeclares) {
    using Theirs = CUDA_MEMCPY2D;
    EXPECT_EQ(sizeof(Copy2D), sizeof(Theirs));
    const std::size_t from = offsetof(Copy2D, from), to = offsetof(Copy2D, to);
    EXPECT_EQ(from + offsetof(Copy2DEnd, x), offsetof(Theirs, srcXInBytes));
    EXPECT_EQ(from + offsetof(Copy2DEnd, memoryType), offsetof(Theirs, srcMemoryType));
    EXPECT_EQ(from + offsetof(Copy2DEnd, device), offsetof(Theirs, srcDevice));
    EXPECT_EQ(from + offsetof(Copy2DEnd, pitch), offsetof(Theirs, srcPitch));
    EXPECT_EQ(to + offsetof(Copy2DEnd, x), offsetof(Theirs, dstXInBytes));
    EXPECT_EQ(to + offsetof(Copy2DEnd, memoryType), offsetof(Theirs, dstMemoryType));
    EXPECT_EQ(to + offsetof(Copy2DEnd, device), offsetof(Theirs, dstDevice));
    EXPECT_EQ(to + offsetof(Copy2DEnd, pitch), offsetof(Theirs, dstPitch));
    EXPECT_EQ(offsetof(Copy2D, width), offsetof(Theirs, WidthInBytes));
    EXPECT_EQ(offsetof(Copy2D, height), offsetof(Theirs, Height));
    EXPECT_EQ(deviceMemory, CU_MEMORYTYPE_DEVICE);
}

}  // namespace
}  // namespace brantel::cuda_driver
