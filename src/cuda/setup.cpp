// Bringing the CUDA backend up and taking it down.
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>

#include "common/guard.h"
#include "cuda/backend.h"
#include "cuda/current_device.h"
#include "cuda/state.h"
#include "gpu/kernels.h"

namespace brantel {

namespace {

constexpr std::int32_t defaultLimit = 30000;
constexpr double minimumMiB = 4096.0;
constexpr char memoryLabel[] = "\xCF\xD4\xB4\xE6\xB4\xF3\xD0\xA1\xA3\xBA";  // "memory size:" in GB2312

/// Every device must have enough memory, also when another one would do.
bool devicesSuffice(const Log& log) {
    int count = 0;
    if (cudaGetDeviceCount(&count) != cudaSuccess || count == 0) {
        log.streamLine("have no cuda device");
        return false;
    }
    for (int device = 0; device < count; ++device) {
        cudaDeviceProp properties{};
        cudaGetDeviceProperties(&properties, device);
        const auto mib = static_cast<std::int64_t>(properties.totalGlobalMem >> 20U);
        if (minimumMiB > static_cast<double>(mib)) {
            log.debugLine("cuda device memory to small");
            return false;
        }
        char line[64];
        std::snprintf(line, sizeof line, "%s%lld MB", memoryLabel, static_cast<long long>(mib));
        log.streamLine(line);
    }
    return true;
}

/// The kernels count elements in signed 32-bit numbers.
bool kernelsCanIndex(const Log& log, const FrameSetup& setup) {
    constexpr std::int64_t border = 2;
    const std::int64_t padded = (setup.rows + 2 * border) * (setup.cols + 2 * border);
    if (padded <= std::numeric_limits<std::int32_t>::max() / setup.channels) return true;
    log.streamLine("frame too large for the cuda kernels");
    return false;
}

template <class Allocate>
bool allocated(const Log& log, const char* failLine, Allocate&& allocate) {
    try {
        allocate();
        return true;
    } catch (const std::bad_alloc&) {
        log.streamLine(failLine);
        return false;
    }
}

}  // namespace

std::unique_ptr<Engine> makeCudaEngine(LogSink& sink) {
    return std::make_unique<CudaEngine>(sink);
}

CudaEngine::CudaEngine(LogSink& sink)
    : Engine(sink), previousSide(rgb2GaryKernel), currentSide(rgb2GaryKernel2) {
    limitA = limitB = defaultLimit;
}

/// The area limits are only ever lowered.
void CudaEngine::takeSetup(const FrameSetup& setup) {
    const ImageDesc size{0, setup.channels, setup.rows / scaleDivisor, setup.cols / scaleDivisor};
    // A template of another kind says nothing about the frames to come. The canvas has one of the same kind, but
    // where is forgotten with the record.
    const bool kept = mosaic.templateState != TemplateState::none && size.rows == frame.rows &&
                      size.cols == frame.cols && size.channels == frame.channels;
    mosaic.templateState = kept ? TemplateState::unplaced : TemplateState::none;
    frame = size;
    tuning = CornerTuning::forDensity(setup.densityLevel);
    previousDesc = currentDesc = frame;
    if (setup.limitA <= limitA) limitA = setup.limitA;
    if (setup.limitB <= limitB) limitB = setup.limitB;
}

bool CudaEngine::allocateHostArrays() {
    const auto descriptorScratch = [this] {
        for (CudaSide* side : {&previousSide, &currentSide}) side->scratch.assign(descriptorLength, 0);
    };
    return allocated(log, "new DescribleSymbol failed", descriptorScratch) &&
           allocated(log, "new Coonervalue failed", [this] {
               if (templateFrame.empty()) templateFrame.ensure(frame.bytes());
           });
}

bool CudaEngine::initJoint(const FrameSetup& setup, const StitchModes& setupModes) {
    if (!devicesSuffice(log) || !kernelsCanIndex(log, setup)) return false;
    const OnMosaicDevice device;
    device.require();
    usesDevice_ = true;
    ready = false;
    modes = setupModes;
    mosaic.record = {};
    mosaic.minimum = mosaic.maximum = {};
    if (!workers.start()) return false;
    takeSetup(setup);
    allocateDeviceBuffers();
    if (!allocateHostArrays()) return false;
    allocatePageLockedMaps();
    ready = succeeds(log, "CUDA trial", [&] {
        tryDevice();
        return true;
    });
    if (!ready) takeDown();
    return ready;
}

/// Throws when frames could only fail: a buffer is missing, or the device does not run the kernels.
void CudaEngine::tryDevice() const {
    check(allocationError_, "allocation");
    std::uint8_t sample = 0;
    toDevice(weights, &sample, 1);
    launchOver(1, 1, pretJudgeImageCh1Kernel, weights.data(), 1, 1);
    toHost(&sample, weights, 1);
    if (sample != 1) throw std::runtime_error("a kernel did not run");
}

/// Without lines: a host hears of the threads' end only where it asked for it.
void CudaEngine::takeDown() {
    for (Worker* worker : {&workers.model, &workers.match}) {
        worker->clearRunFlag();
        worker->join();
    }
    if (usesDevice_) freeBuffers();
    usesDevice_ = false;
    mosaic = Mosaic{};
}

bool CudaEngine::uinitJoint() {
    ready = false;
    workers.join("cuda_one_pid", "cuda_two_pid");
    log.debugLine("pthread_join out");
    takeDown();
    return true;
}

CudaEngine::~CudaEngine() {
    takeDown();
}

}  // namespace brantel
