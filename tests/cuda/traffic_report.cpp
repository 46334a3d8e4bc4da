// cuda_traffic ROWS COLUMNS CHANNELS: what one merged frame asks of the emulated device, and how long the host code's
// own processor work for it takes: that of all threads, and that of the caller's. Not a test: it asserts nothing.
#include <cuda_runtime_api.h>
#include <time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "cuda/traffic.h"

namespace {

double seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::atomic<std::int64_t> emulatedNanoseconds{0};  // of all threads
thread_local double emulatedHere = 0;

/// Runs a call of the runtime, whose time is the emulation's and not the host code's.
template <class Call>
cudaError_t apart(Call&& call) {
    const double begin = seconds(CLOCK_THREAD_CPUTIME_ID);
    const cudaError_t code = call();
    const double spent = seconds(CLOCK_THREAD_CPUTIME_ID) - begin;
    emulatedHere += spent;
    emulatedNanoseconds += static_cast<std::int64_t>(spent * 1e9);
    return code;
}

}  // namespace

// The linker lets the backend's calls come here first.
extern "C" {

cudaError_t __real_cudaMemcpy(void*, const void*, std::size_t, cudaMemcpyKind);
cudaError_t __real_cudaMemcpy2D(void*, std::size_t, const void*, std::size_t, std::size_t, std::size_t,
                                cudaMemcpyKind);
cudaError_t __real_cudaLaunchKernel(const void*, dim3, dim3, void**, std::size_t, cudaStream_t);

cudaError_t __wrap_cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return apart([&] { return __real_cudaMemcpy(to, from, bytes, kind); });
}
cudaError_t __wrap_cudaMemcpy2D(void* to, std::size_t toPitch, const void* from, std::size_t fromPitch,
                                std::size_t width, std::size_t height, cudaMemcpyKind kind) {
    return apart([&] { return __real_cudaMemcpy2D(to, toPitch, from, fromPitch, width, height, kind); });
}
cudaError_t __wrap_cudaLaunchKernel(const void* kernel, dim3 grid, dim3 block, void** arguments,
                                    std::size_t shared, cudaStream_t stream) {
    return apart([&] { return __real_cudaLaunchKernel(kernel, grid, block, arguments, shared, stream); });
}
}

namespace {

using namespace brantel::test;

struct Cost {
    emulated_cuda::Traffic traffic{};
    double allThreads = 0;
    double caller = 0;
};

bool measure(const SessionOptions& options, Cost* cost) {
    return mergeSteadyFrame(options, [&](const std::function<void()>& call) {
        emulatedNanoseconds = 0;
        emulatedHere = 0;
        const double process = seconds(CLOCK_PROCESS_CPUTIME_ID);
        const double thread = seconds(CLOCK_THREAD_CPUTIME_ID);
        call();
        cost->caller = seconds(CLOCK_THREAD_CPUTIME_ID) - thread - emulatedHere;
        cost->allThreads = seconds(CLOCK_PROCESS_CPUTIME_ID) - process -
                           static_cast<double>(emulatedNanoseconds.load()) * 1e-9;
        cost->traffic = emulated_cuda::traffic();
    });
}

void print(const char* mode, const Cost& cost) {
    const auto& traffic = cost.traffic;
    const auto copies = [](const char* name, const emulated_cuda::Copies& copies) {
        std::printf("  copies %-13s %4d  %8.1f MB\n", name, copies.count,
                    static_cast<double>(copies.bytes) * 1e-6);
    };
    std::printf("%s:\n  launches             %4zu\n", mode, traffic.launches);
    copies("to the device", traffic.toDevice);
    copies("to the host", traffic.toHost);
    copies("on the device", traffic.onDevice);
    std::printf("  of pageable memory         %8.1f MB\n", static_cast<double>(traffic.pageableBytes) * 1e-6);
    std::printf("  processor, all threads     %8.1f ms\n  processor, caller          %8.1f ms\n",
                cost.allThreads * 1e3, cost.caller * 1e3);
}

}  // namespace

int main(int argc, char** argv) {
    const bool given = argc > 3;
    SessionOptions options{given ? std::atoi(argv[1]) : 2048, given ? std::atoi(argv[2]) : 2448,
                           given ? std::atoi(argv[3]) : 3};
    options.forceCpu = false;
    for (const int mode : {1, 0}) {
        options.mainMode = mode;
        Cost cost;
        if (!measure(options, &cost)) return 1;
        print(mode == 1 ? "motion test" : "brightness test", cost);
    }
    return 0;
}
