// Instruction sets of the processor at hand.
#include "platform/platform.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace brantel::platform {

#if defined(_MSC_VER) && !defined(__clang__)

namespace {

/// The system saves these register states on a task switch.
bool systemSaves(unsigned long long states) {
    int leaf1[4];
    __cpuid(leaf1, 1);
    const bool hasXgetbv = (leaf1[2] & (1 << 27)) != 0;
    return hasXgetbv && (_xgetbv(0) & states) == states;
}

bool leaf7Has(unsigned bits) {
    int leaf0[4];
    int leaf7[4];
    __cpuid(leaf0, 0);
    if (leaf0[0] < 7) return false;
    __cpuidex(leaf7, 7, 0);
    return (static_cast<unsigned>(leaf7[1]) & bits) == bits;
}

}  // namespace

bool processorHasAvx2() {
    return systemSaves(0x6) && leaf7Has((1U << 5) | (1U << 8));
}

bool processorHasAvx512() {
    return systemSaves(0xE6) &&
           leaf7Has((1U << 5) | (1U << 8) | (1U << 16) | (1U << 17) | (1U << 28) | (1U << 30) | (1U << 31));
}

#else

bool processorHasAvx2() {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
           __builtin_cpu_supports("bmi2") != 0 && __builtin_cpu_supports("fma") != 0 &&
           __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("aes") != 0;
}

bool processorHasAvx512() {
    return processorHasAvx2() && __builtin_cpu_supports("avx512f") != 0 &&
           __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512cd") != 0 &&
           __builtin_cpu_supports("avx512dq") != 0 && __builtin_cpu_supports("avx512vl") != 0;
}

#endif

}  // namespace brantel::platform
