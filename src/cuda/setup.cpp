// Bringing the CUDA backend up and taking it down.
#include <cstdio>
#include <limits>
#include <new>

#include "common/log.h"
#include "cuda/backend.h"
#include "cuda/state.h"

namespace brantel {

namespace {

constexpr double minimumMiB = 4096.0;
constexpr char memoryLabel[] = "\xCF\xD4\xB4\xE6\xB4\xF3\xD0\xA1\xA3\xBA";  // "memory size:" in GB2312

/// Every device must have enough memory, also when another one would do.
bool devicesSuffice() {
    int count = 0;
    if (cudaGetDeviceCount(&count) != cudaSuccess || count == 0) {
        streamLine("have no cuda device");
        return false;
    }
    for (int device = 0; device < count; ++device) {
        cudaDeviceProp properties{};
        cudaGetDeviceProperties(&properties, device);
        const auto mib = static_cast<std::int64_t>(properties.totalGlobalMem >> 20U);
        if (minimumMiB > static_cast<double>(mib)) {
            debugLine("cuda device memory to small");
            return false;
        }
        char line[64];
        std::snprintf(line, sizeof line, "%s%lld MB", memoryLabel, static_cast<long long>(mib));
        streamLine(line);
    }
    return true;
}

/// The kernels count elements in signed 32-bit numbers.
bool kernelsCanIndex(const FrameSetup& setup) {
    if (setup.rows < 1 || setup.cols < 1 || (setup.channels != 1 && setup.channels != 3)) return false;
    constexpr std::int64_t border = 2;
    const std::int64_t padded = (setup.rows + 2 * border) * (setup.cols + 2 * border);
    if (padded <= std::numeric_limits<std::int32_t>::max() / setup.channels) return true;
    streamLine("frame too large for the cuda kernels");
    return false;
}

void takeSetup(CudaBackend& cuda, const FrameSetup& setup) {
    cuda.frame = {setup.rows / scaleDivisor, setup.cols / scaleDivisor, setup.channels};
    cuda.tuning = CornerTuning::forDensity(setup.densityLevel);
    cuda.previousDesc = cuda.currentDesc = {0, setup.channels, cuda.frame.rows, cuda.frame.cols};
    if (setup.limitA <= cuda.limitRows) cuda.limitRows = setup.limitA;
    if (setup.limitB <= cuda.limitCols) cuda.limitCols = setup.limitB;
}

template <class Allocate>
bool allocated(const char* failLine, Allocate&& allocate) {
    try {
        allocate();
        return true;
    } catch (const std::bad_alloc&) {
        streamLine(failLine);
        return false;
    }
}

bool allocateHostArrays(CudaBackend& cuda) {
    const auto descriptorScratch = [&cuda] {
        for (CudaSide* side : {&cuda.model, &cuda.match}) side->scratch.assign(descriptorLength, 0);
    };
    return allocated("new DescribleSymbol failed", descriptorScratch) &&
           allocated("new Coonervalue failed", [&cuda] {
               if (cuda.coonerValue.empty()) cuda.coonerValue.ensure(cuda.frame.bytes());
           });
}

}  // namespace

bool initJointCuda(const FrameSetup& setup) {
    if (!devicesSuffice() || !kernelsCanIndex(setup)) return false;
    CudaBackend& cuda = cudaBackend();
    cuda.ready = false;
    cuda.mosaic.record = {};
    cuda.mosaic.minimum = cuda.mosaic.maximum = {};
    if (!cuda.workers.start()) return false;
    takeSetup(cuda, setup);
    cuda.allocateDeviceBuffers();
    if (!allocateHostArrays(cuda)) return false;
    cuda.allocateHostMaps();
    cuda.ready = true;
    return true;
}

bool uinitJointCuda() {
    CudaBackend& cuda = cudaBackend();
    cuda.ready = false;
    cuda.workers.join("cuda_one_pid", "cuda_two_pid");
    debugLine("pthread_join out");
    cuda.freeBuffers();
    cuda.mosaic = Mosaic{};
    cuda.templateOnDevice = false;
    return true;
}

}  // namespace brantel
