// Which instruction set the inner loops use. Every level computes the same bytes.
#pragma once

#include <atomic>
#include <cstdint>

#include "simd/kernels.h"

namespace brantel::simd {

enum class Level : std::int32_t { baseline, avx2, avx512 };

constexpr Level allLevels[] = {Level::baseline, Level::avx2, Level::avx512};

/// "baseline" (x86-64), "avx2" or "avx512".
const char* nameOf(Level level);

/// True when this processor can run the level.
bool isSupported(Level level);

/// The level in use: at first the highest supported one, or a lower one named by the environment variable
/// BRANTEL_INSTRUCTIONS. Tests and benchmarks set it to other supported ones, while no frame is being stitched.
std::atomic<Level>& activeLevel();

/// The inner loops of the active level.
const Kernels& kernels();
const CornerKernels& cornerKernels();
const SumKernels& sumKernels();
const SeamKernels& seamKernels();

}  // namespace brantel::simd
