// Kernel launches from plain C++: only the kernels themselves need the CUDA compiler.
#pragma once

#include <cuda_runtime_api.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace brantel {

/// A CUDA call that failed: a refused launch or a failed copy. It ends the stitch call with -1, also when it happens
/// in a worker's job, and the mosaic is as it was before; in an initialisation it ends that.
class DeviceError : public std::runtime_error {
  public:
    DeviceError(const char* what, cudaError_t code)
        : std::runtime_error(std::string("CUDA ") + what + " failed with error " + std::to_string(code)) {}
};

inline void check(cudaError_t code, const char* what) {
    if (code != cudaSuccess) throw DeviceError(what, code);
}

template <class Tuple, std::size_t... I>
cudaError_t launchPacked(const void* kernel, dim3 grid, dim3 block, Tuple& arguments,
                         std::index_sequence<I...>) {
    void* pointers[] = {&std::get<I>(arguments)...};
    return cudaLaunchKernel(kernel, grid, block, pointers, 0, nullptr);
}

/// Launches on the default stream. The kernel's host function is its handle; the arguments become its
/// parameter types first, since the runtime reads them through pointers.
template <class... P, class... A>
void launch(void (*kernel)(P...), dim3 grid, dim3 block, A... arguments) {
    static_assert(sizeof...(P) == sizeof...(A), "wrong number of kernel arguments");
    std::tuple<P...> values(static_cast<P>(arguments)...);
    check(launchPacked(reinterpret_cast<const void*>(kernel), grid, block, values,
                       std::index_sequence_for<P...>{}),
          "kernel launch");
}

/// One thread per element of rows x cols.
template <class... P, class... A>
void launchOver(std::int32_t rows, std::int32_t cols, void (*kernel)(P...), A... arguments) {
    constexpr unsigned side = 32;
    const dim3 grid((static_cast<unsigned>(cols) + side - 1) / side,
                    (static_cast<unsigned>(rows) + side - 1) / side);
    launch(kernel, grid, dim3(side, side), arguments...);
}

/// One thread per row and band column of a padding's column pass: a single block across, as wide as the
/// border, so that every band column is written.
template <class... P, class... A>
void launchColumnPass(std::int32_t rows, std::int32_t border, void (*kernel)(P...), A... arguments) {
    constexpr unsigned side = 32;
    const dim3 grid(1, (static_cast<unsigned>(rows) + side - 1) / side);
    launch(kernel, grid, dim3(static_cast<unsigned>(border), side), arguments...);
}

}  // namespace brantel
