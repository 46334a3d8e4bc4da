// The exported functions: the one mosaic of the process, choice of its backend and dispatch.
#include <brantel/brantel.h>

#include <memory>
#include <new>

#include "api/override_file.h"
#include "api/process_log.h"
#include "common/guard.h"
#include "cpu/backend.h"
#include "cuda/backend.h"
#include "engine/geometry.h"
#include "opencl/backend.h"
#include "platform/platform.h"

namespace brantel {

namespace {

/// A backend of the process's mosaic and the debugger's lines around its calls.
struct Route {
    std::unique_ptr<Engine> engine;
    const char* enterLine;
    const char* failLine;
};

/// What belongs to a process and not to a mosaic: one engine per backend, of which one stitches, and where its lines
/// go. Never destroyed: worker threads may still wait in it when the process ends.
struct ProcessMosaic {
    const std::int64_t process = platform::processId();
    Log log{processLogSink()};
    Route cpu{makeCpuEngine(processLogSink()), "stichingImagedJointCpu in", "stichingImagedJointCpu failed"};
    Route cuda{makeCudaEngine(processLogSink()), "stichingImagedJointCuda in",
               "stichingImagedJointCuda failed"};
    Route opencl{makeOpenclEngine(processLogSink()), "stichingImagedJointCL in",
                 "stichingImagedJointCL failed"};
    Route* active = &cpu;
};

/// Null until the first call.
ProcessMosaic* theMosaic = nullptr;

/// Null when there is no memory for it; the next call tries again.
ProcessMosaic* processMosaic() {
    try {
        if (theMosaic == nullptr) theMosaic = new ProcessMosaic;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return theMosaic;
}

/// The same for an initialisation. A child that was forked leaves its copy of the parent's mosaic alone, whose threads
/// and devices it does not have, and starts afresh.
ProcessMosaic* ownProcessMosaic() {
    if (theMosaic != nullptr && theMosaic->process != platform::processId()) theMosaic = nullptr;
    return processMosaic();
}

bool initialise(const Log& log, const char* what, Route& route, const FrameSetup& setup,
                const StitchModes& modes) {
    return succeeds(log, what, [&] { return route.engine->initJoint(setup, modes); });
}

bool chooseBackend(ProcessMosaic& process, const FrameSetup& setup, const StitchModes& modes) {
    const Log& log = process.log;
    const bool forced = overrideFileForcesCpu();
    log.debugLine(forced ? "use CPU" : "use CUDA/CL/CPU");
    if (!forced) {
        if (initialise(log, "CUDA initialisation", process.cuda, setup, modes)) {
            log.debugLine("use CUDA");
            process.active = &process.cuda;
            return true;
        }
        // OpenCL is brought up as a check only and never chosen for stitching (quirk 2).
        if (initialise(log, "OpenCL check", process.opencl, setup, modes))
            log.debugLine("openCL check success.");
    }
    process.active = &process.cpu;
    if (!initialise(log, "initJoint", process.cpu, setup, modes)) return false;
    if (!forced) log.debugLine("use CPU");
    return true;
}

bool init(const FrameSetup& setup, const StitchModes& modes) {
    ProcessMosaic* process = ownProcessMosaic();
    if (process == nullptr || !framesAreUsable(process->log, setup)) return false;
    if (!modes.byMotion()) process->log.debugLine("0 == GStitchMainMode");
    if (!modes.strict()) process->log.debugLine("0 == GstaticMainDynamicFlag");
    return chooseBackend(*process, setup, modes);
}

std::int32_t stitch(const StitchCall& call) {
    const ProcessMosaic* process = processMosaic();
    if (process == nullptr) return -1;
    const Route& route = *process->active;
    process->log.debugLine(route.enterLine);
    const std::int32_t result = route.engine->stichingImagedJoint(call);
    if (result == -1) process->log.debugLine(route.failLine);
    return result;
}

void uninit() {
    ProcessMosaic* process = processMosaic();
    if (process == nullptr) return;
    process->active->engine->uinitJoint();
    process->active = &process->cpu;
}

}  // namespace

}  // namespace brantel

// Nobody cancels the host's thread in here: see restoreCancellation().
extern "C" {

bool initJoint(std::int32_t rows, std::int32_t columns, std::int32_t channels, std::int32_t densityLevel,
               std::int32_t limitA, std::int32_t limitB, std::int32_t mainMode, std::int32_t staticFlag) {
    const int cancellation = brantel::platform::disableCancellation();
    const bool ready =
        brantel::init({rows, columns, channels, densityLevel, limitA, limitB}, {mainMode, staticFlag});
    brantel::platform::restoreCancellation(cancellation);
    return ready;
}

std::int32_t stichingImagedJoint(std::uint8_t* firstFrame, std::uint8_t* currentFrame,
                                 std::int32_t continueFlag, std::int32_t scale, std::int32_t expectedX,
                                 std::int32_t expectedY, bool useExpected, MosaicCorner* minCorner,
                                 MosaicCorner* maxCorner, cv::Mat* mosaic, StitchFlags* flags) {
    const int cancellation = brantel::platform::disableCancellation();
    const std::int32_t result = brantel::stitch({firstFrame,
                                                 currentFrame,
                                                 continueFlag,
                                                 scale,
                                                 {expectedX, expectedY, useExpected},
                                                 minCorner,
                                                 maxCorner,
                                                 mosaic,
                                                 flags});
    brantel::platform::restoreCancellation(cancellation);
    return result;
}

bool uinitJoint() {
    const int cancellation = brantel::platform::disableCancellation();
    brantel::uninit();
    brantel::platform::restoreCancellation(cancellation);
    return true;
}
}
