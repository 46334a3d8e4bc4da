// Bringing the CPU backend up and taking it down.
#include "cpu/backend.h"
#include "cpu/state.h"
#include "registration/gradient_table.h"

namespace brantel {

namespace {

constexpr std::int32_t defaultLimit = 20000;

}  // namespace

GreyTables::GreyTables() {
    for (std::int32_t i = 0; i < 256; ++i) {
        t_r[i] = (i * 1224) >> 12;
        t_g[i] = (i * 2404) >> 12;
        t_b[i] = (i * 467) >> 12;
    }
}

std::unique_ptr<Engine> makeCpuEngine(LogSink& sink) {
    return std::make_unique<CpuEngine>(sink);
}

CpuEngine::CpuEngine(LogSink& sink) : Engine(sink) {
    limitA = limitB = defaultLimit;
}

/// Room for the frames' grey images. A second initialisation keeps what the first one made, whatever its size.
void CpuEngine::allocateFrames() {
    if (frameCapacity != 0) return;
    const std::int64_t greyBytes = frame.pixels() + frame.cols;
    for (Buffer<std::uint8_t>* buffer : {&templateGrey, &previousSide.grey, &currentSide.grey})
        buffer->ensure(greyBytes);
    frameCapacity = frame.bytes();
}

bool CpuEngine::initJoint(const FrameSetup& setup, const StitchModes& setupModes) {
    idle.finish();
    ready = false;
    modes = setupModes;
    if (!workers.start("findHarrisCornerCoordianteThreadTwo in")) return false;
    const ImageDesc size{0, setup.channels, setup.rows / scaleDivisor, setup.cols / scaleDivisor};
    // A template of another size says nothing about the frames to come. The canvas has one of the same size, but
    // where is forgotten with the record.
    const bool kept =
        mosaic.templateState != TemplateState::none && size.rows == frame.rows && size.cols == frame.cols;
    mosaic.templateState = kept ? TemplateState::unplaced : TemplateState::none;
    frame = size;
    tuning = CornerTuning::forDensity(setup.densityLevel);
    previousDesc = currentDesc = {0, setup.channels, setup.rows, setup.cols};
    greyTables = GreyTables();
    limitA = setup.limitA;
    limitB = setup.limitB;
    allocateFrames();
    gradientTable();  // made now, or a child that is forked while a worker makes it would wait for it
    mosaic.record = {};
    mosaic.minimum = mosaic.maximum = {};
    ready = true;
    return true;
}

void CpuEngine::freeBuffers() {
    frameCapacity = 0;
    templateGrey.reset();
    motion = MotionReference{};
    overlap = OverlapBuffers{};
    seam = SeamScratch{};
    arena = {};
    estimation = EstimationScratch{};
    previousSide.reset();
    currentSide.reset();
}

bool CpuEngine::uinitJoint() {
    idle.finish();
    ready = false;
    workers.join("model_pid", "match_pid");
    freeBuffers();
    mosaic = Mosaic{};
    return true;
}

}  // namespace brantel
