#include "gpu/plain_kernels.h"

#include "support/fused.h"

namespace {

// What the kernel text knows of CUDA.
struct ThreadIndex {
    unsigned x;
    unsigned y;
};
thread_local ThreadIndex blockIdx, threadIdx, blockDim;

}  // namespace

#define fma brantel::test::fma
#include "gpu/kernels.h"
#include "gpu/kernels.inc"
#undef fma

namespace gpu_test {

namespace {

template <class... P>
PlainKernel entry(const char* name, void (*kernel)(P...)) {
    const std::string parameters{(std::is_same_v<P, unsigned char*> ? 'b'
                                  : std::is_same_v<P, float*>       ? 'f'
                                                                    : 'i')...};
    return {name, reinterpret_cast<const void*>(kernel), parameters, unpacked(kernel)};
}

}  // namespace

#define KERNEL_ENTRY(name, parameters) entry(#name, ::name),

const std::vector<PlainKernel>& plainKernels() {
    static const std::vector<PlainKernel> all = {
#include "gpu/kernel_list.inc"
    };
    return all;
}

void runGrid(const PlainKernel& kernel, Extent grid, Extent block, void** values, bool reverse) {
    blockDim = {block.x, block.y};
    const unsigned blocks = grid.x * grid.y, threads = block.x * block.y;
    for (unsigned b = 0; b < blocks; ++b) {
        const unsigned at = reverse ? blocks - 1 - b : b;
        blockIdx = {at % grid.x, at / grid.x};
        for (unsigned t = 0; t < threads; ++t) {
            const unsigned in = reverse ? threads - 1 - t : t;
            threadIdx = {in % block.x, in / block.x};
            kernel.thread(values);
        }
    }
}

}  // namespace gpu_test
