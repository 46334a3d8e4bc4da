#include "cpu/backend.h"

#include "common/log.h"

namespace brantel {

namespace {

void searchMatchStarted() {
    streamLine("findHarrisCornerCoordianteThreadTwo in");
}

/// Room for the frames' grey images. A second initialisation keeps what the first one made, whatever its
/// size.
void allocateFrames(CpuBackend& cpu) {
    if (cpu.frameCapacity != 0) return;
    const std::int64_t greyBytes = cpu.frame.pixels() + cpu.frame.cols;
    for (Buffer<std::uint8_t>* buffer : {&cpu.previousStore, &cpu.previousSide.grey, &cpu.currentSide.grey})
        buffer->ensure(greyBytes);
    cpu.frameCapacity = cpu.frame.bytes();
}

}  // namespace

GreyTables::GreyTables() {
    for (std::int32_t i = 0; i < 256; ++i) {
        t_r[i] = (i * 1224) >> 12;
        t_g[i] = (i * 2404) >> 12;
        t_b[i] = (i * 467) >> 12;
    }
}

void CpuBackend::freeBuffers() {
    frameCapacity = 0;
    for (Buffer<std::uint8_t>* buffer : {&previousStore, &previousWorking, &currentWorking}) buffer->reset();
    motion = MotionReference{};
    overlap = OverlapScratch{};
    seam = SeamScratch{};
    estimation = EstimationScratch{};
    templateFeatures = TemplateFeatures{};
    previousSide.reset();
    currentSide.reset();
}

CpuBackend& cpuBackend() {
    static CpuBackend& instance = *new CpuBackend;
    return instance;
}

bool initJointCpu(const FrameSetup& setup) {
    CpuBackend& cpu = cpuBackend();
    cpu.ready = false;
    if (!framesAreUsable(setup)) return false;
    if (!cpu.workers.start(searchMatchStarted)) return false;
    const FrameSize size{setup.rows / scaleDivisor, setup.cols / scaleDivisor, setup.channels};
    // A template of another size says nothing about the frames to come.
    if (size.rows != cpu.frame.rows || size.cols != cpu.frame.cols) cpu.mosaic.hasTemplate = false;
    cpu.frame = size;
    cpu.tuning = CornerTuning::forDensity(setup.densityLevel);
    cpu.previousDesc = cpu.currentDesc = {0, setup.channels, setup.rows, setup.cols};
    cpu.greyTables = GreyTables();
    cpu.limitA = setup.limitA;
    cpu.limitB = setup.limitB;
    allocateFrames(cpu);
    cpu.templateFeatures.valid = false;
    cpu.mosaic.templateOnCanvas = false;
    cpu.mosaic.record = {};
    cpu.mosaic.minimum = cpu.mosaic.maximum = {};
    cpu.ready = true;
    return true;
}

bool uinitJointCpu() {
    CpuBackend& cpu = cpuBackend();
    cpu.ready = false;
    cpu.workers.join("model_pid", "match_pid");
    cpu.freeBuffers();
    cpu.mosaic = Mosaic{};
    return true;
}

}  // namespace brantel
