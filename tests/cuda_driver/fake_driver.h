// A stand-in for NVIDIA's driver library: the entry points that the backend looks up, on top of the emulated
// device of cuda/emulated_cuda.h, which also holds most of what can go wrong.
//
// Uses that a driver would punish are violations there: calls before cuInit, without the context current in
// the calling thread, with handles that were never given out.
#pragma once

#include <string>

#include "cuda/driver/driver_api.h"

#if defined(_WIN32)
#define FAKE_DRIVER_ENTRY extern "C" __declspec(dllexport)
#else
#define FAKE_DRIVER_ENTRY extern "C" __attribute__((visibility("default")))
#endif

namespace brantel::cuda_driver {
#define BRANTEL_FAKE_ENTRY(name, parameters) FAKE_DRIVER_ENTRY Result BRANTEL_CUDA_CALL name parameters;
BRANTEL_CUDA_DRIVER_FUNCTIONS(BRANTEL_FAKE_ENTRY)
#undef BRANTEL_FAKE_ENTRY
}  // namespace brantel::cuda_driver

#if defined(__ELF__)
#pragma GCC visibility push(default)
#endif

namespace fake_driver {

/// What goes wrong in the driver itself. Errors are what the call returns.
struct Faults {
    int initError = 0;
    int version = 1000000;
    int contextError = 0;
    int loadError = 0;
    std::string missingKernel;
};

/// Takes effect at once. What was handed out stays valid.
void setFaults(const Faults& faults);

int contextsRetained();
int modulesLoaded();
/// Current contexts of the calling thread, one on top of the other.
int contextDepth();

}  // namespace fake_driver

#if defined(__ELF__)
#pragma GCC visibility pop
#endif
