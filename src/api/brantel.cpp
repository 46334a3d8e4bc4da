// The exported functions: choice of the backend and dispatch.
#include <brantel/brantel.h>

#include "api/override_file.h"
#include "common/guard.h"
#include "common/log.h"
#include "common/stitch_call.h"
#include "cpu/backend.h"
#include "cuda/backend.h"
#include "opencl/openclJoint.h"

namespace brantel {

namespace {

/// Which backend stitches. At most one is set; none means the CPU.
struct BackendChoice {
    bool cudaActive = false;
    bool openclActive = false;
};
BackendChoice backend;

bool initCpu(const FrameSetup& setup) {
    return succeeds("initJoint", [&] { return initJointCpu(setup); });
}

bool chooseBackend(const FrameSetup& setup) {
    if (overrideFileForcesCpu()) {
        debugLine("use CPU");
        backend = {};
        return initCpu(setup);
    }
    debugLine("use CUDA/CL/CPU");
    if (succeeds("CUDA initialisation", [&] { return initJointCuda(setup); })) {
        debugLine("use CUDA");
        backend.cudaActive = true;
        return true;
    }
    backend.cudaActive = false;
    if (succeeds("OpenCL check", [&] { return initJointCL(setup); })) debugLine("openCL check success.");
    backend.openclActive = false;  // OpenCL is brought up as a check only and never chosen for stitching
    if (!initCpu(setup)) return false;
    debugLine("use CPU");
    return true;
}

struct Route {
    const char* enterLine;
    std::int32_t (*stitch)(const StitchCall&);
    const char* failLine;
};

Route activeRoute() {
    if (backend.cudaActive)
        return {"stichingImagedJointCuda in", stichingImagedJointCuda, "stichingImagedJointCuda failed"};
    if (backend.openclActive)
        return {"stichingImagedJointCL in", stichingImagedJointCL, "stichingImagedJointCL failed"};
    return {"stichingImagedJointCpu in", stichingImagedJointCpu, "stichingImagedJointCpu failed"};
}

}  // namespace

StitchModes& stitchModes() {
    static StitchModes modes;
    return modes;
}

}  // namespace brantel

extern "C" {

bool initJoint(std::int32_t rows, std::int32_t columns, std::int32_t channels, std::int32_t densityLevel,
               std::int32_t limitA, std::int32_t limitB, std::int32_t mainMode, std::int32_t staticFlag) {
    brantel::stitchModes() = {mainMode, staticFlag};
    if (mainMode == 0) brantel::debugLine("0 == GStitchMainMode");
    if (staticFlag == 0) brantel::debugLine("0 == GstaticMainDynamicFlag");
    return brantel::chooseBackend({rows, columns, channels, densityLevel, limitA, limitB});
}

std::int32_t stichingImagedJoint(std::uint8_t* firstFrame, std::uint8_t* currentFrame,
                                 std::int32_t continueFlag, std::int32_t scale, std::int32_t expectedX,
                                 std::int32_t expectedY, bool useExpected, MosaicCorner* minCorner,
                                 MosaicCorner* maxCorner, cv::Mat* mosaic, StitchFlags* flags) {
    const brantel::Route route = brantel::activeRoute();
    brantel::debugLine(route.enterLine);
    const std::int32_t result = route.stitch({firstFrame,
                                              currentFrame,
                                              continueFlag,
                                              scale,
                                              {expectedX, expectedY, useExpected},
                                              minCorner,
                                              maxCorner,
                                              mosaic,
                                              flags});
    if (result == -1) brantel::debugLine(route.failLine);
    return result;
}

bool uinitJoint() {
    if (brantel::backend.cudaActive) {
        brantel::uinitJointCuda();
    } else if (brantel::backend.openclActive) {
        brantel::uinitJointCL();
    } else {
        brantel::uinitJointCpu();
    }
    brantel::backend = {};
    return true;
}
}
