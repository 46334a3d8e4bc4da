// What tests ask the nvcuda.dll that stands in for NVIDIA's driver.
#include "cuda/emulated_cuda.h"

extern "C" {
__declspec(dllexport) std::size_t standInLaunches() {
    return emulated_cuda::launches().size();
}
__declspec(dllexport) std::size_t standInViolations() {
    return emulated_cuda::violations().size();
}
__declspec(dllexport) std::size_t standInLiveBlocks() {
    return emulated_cuda::liveBlocks();
}
}
