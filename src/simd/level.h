// Which instruction set the inner loops use. Every level computes the same bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "simd/kernels.h"

namespace brantel::simd {

enum class Level : std::int32_t { baseline, avx2, avx512 };

/// The levels this processor can run, lowest first.
std::vector<Level> supportedLevels();

/// "baseline" (x86-64), "avx2" or "avx512".
const char* nameOf(Level level);

/// The level in use: the highest supported one, or a lower one named by the environment variable
/// BRANTEL_INSTRUCTIONS, or the one a test has forced.
Level activeLevel();

/// Makes all later calls use a supported level (an unsupported one is ignored). For tests and benchmarks; not
/// to be called while frames are being stitched.
void forceLevel(Level level);

/// The inner loops of the active level.
const Kernels& kernels();
const CornerKernels& cornerKernels();
const SumKernels& sumKernels();
const SeamKernels& seamKernels();

}  // namespace brantel::simd
