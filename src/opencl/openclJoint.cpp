// Initialisation, stitch entry and tear-down of the OpenCL backend.
#include "opencl/openclJoint.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "common/log.h"
#include "opencl/joint.h"

namespace brantel {

namespace {

void releaseQueue(OpenclJoint& cl) {
    if (cl.clCommandQueue != nullptr) clApi()->clReleaseCommandQueue(cl.clCommandQueue);
    cl.clCommandQueue = nullptr;
}

void releaseDevice(OpenclJoint& cl) {
    releaseQueue(cl);
    if (cl.clProgram != nullptr) clApi()->clReleaseProgram(cl.clProgram);
    cl.clProgram = nullptr;
    if (cl.clContext != nullptr) clApi()->clReleaseContext(cl.clContext);
    cl.clContext = nullptr;
}

/// Context, queue and program, each unless it exists. What was made is released again when one fails.
bool openDevice(OpenclJoint& cl) {
    if (cl.clContext == nullptr) cl.clContext = CreateContext(cl);
    if (cl.clContext == nullptr) {
        debugLine("commandQueue failed");
        return false;
    }
    if (cl.clCommandQueue == nullptr)
        cl.clCommandQueue = clApi()->clCreateCommandQueue(cl.clContext, cl.clDevice, 0, nullptr);
    if (cl.clCommandQueue == nullptr) {
        clLog("Failed to create commandQueue for device 0");
        debugLine("commandQueue failed");
        releaseDevice(cl);
        return false;
    }
    if (cl.clProgram == nullptr) cl.clProgram = CreateProgram(cl);
    if (cl.clProgram == nullptr) releaseDevice(cl);
    return cl.clProgram != nullptr;
}

bool createDeviceObjects(OpenclJoint& cl, std::int32_t height, std::int32_t channels) {
    if (!CreateMemObjectsImg(cl, cl.clScale, height % cl.clScale, 0, channels)) {
        debugLine("CreateMemObjectsImg failed");
        return false;
    }
    if (!createKernel(cl)) {
        debugLine("clCreateKernel createKernel failed");
        return false;
    }
    return true;
}

void storeGeometry(OpenclJoint& cl, const FrameSetup& setup) {
    const CornerTuning tuning = CornerTuning::forDensity(setup.densityLevel);
    cl.clCornerParam = tuning.densityLevel;
    cl.clMaxCornerNum = tuning.budget;
    cl.clMaxCandidateNum = tuning.cap;
    cl.clFrameWidth = setup.rows;
    cl.clFrameHeight = setup.cols;
    cl.clFrameChannels = setup.channels;
    cl.previousDesc = cl.currentDesc = {0, setup.channels, setup.rows, setup.cols};
    cl.clCanvasLimitA = std::min(cl.clCanvasLimitA, setup.limitA);
    cl.clCanvasLimitB = std::min(cl.clCanvasLimitB, setup.limitB);
}

void copyFrame(OpenclJoint& cl, Buffer<std::uint8_t>& to) {
    std::memcpy(to.data(), cl.clFrameCopyB.data(), static_cast<std::size_t>(cl.frame().bytes()));
}

/// A frame that shifted too little or too far becomes the template although it is not on the canvas: the next
/// offset is measured against it. That is this backend's rule, unlike the others'.
void keepUnplacedFrame(OpenclJoint& cl) {
    copyFrame(cl, cl.clFrameCopyA);
    cl.mosaic.hasTemplate = true;
}

bool stitchFrame(OpenclJoint& cl, const StitchCall& call) {
    const bool continues = call.continueFlag != 0;
    debugLine(continues ? "stitchingImageOffsetCL 1" : "stitchingImageOffsetCL 0");
    std::uint8_t* previousFrame = continues ? cl.clFrameCopyA.data() : call.firstFrame;
    // The two frame records change places with the flag, deliberately; they describe the same geometry.
    const ImageDesc& first = continues ? cl.previousDesc : cl.currentDesc;
    const ImageDesc& second = continues ? cl.currentDesc : cl.previousDesc;
    cl.deviceFailed = false;
    cl.lastSeen.ensure(cl.frame().bytes());
    MosaicBackup backup(cl.mosaic);
    const bool done = stitchingImageOffsetCL(cl, call, previousFrame, first, second) &&
                      mergeIfSuitable(
                          cl.mosaic, cl.frame(), [&] { return stitchingImageImageblend(cl); },
                          [&] { keepUnplacedFrame(cl); });
    if (cl.deviceFailed || cl.workers.broke()) return false;
    backup.keepChanges();
    if (done && stitchModes().GStitchMainMode != 0) copyFrame(cl, cl.lastSeen);
    return done;
}

bool stitch(OpenclJoint& cl, const StitchCall& call) {
    if (!cl.ready) return false;
    if (!cl.buffersHoldFrame()) {
        streamLine("ptr is null");  // a second initialisation asked for larger frames than the first
        return false;
    }
    return stitchFrame(cl, call);
}

bool usable(const FrameSetup& setup) {
    return setup.rows >= 1 && setup.cols >= 1 && (setup.channels == 1 || setup.channels == 3) &&
           std::int64_t{setup.rows} * setup.cols <= std::numeric_limits<std::int32_t>::max();
}

}  // namespace

OpenclJoint& openclJoint() {
    static OpenclJoint& instance = *new OpenclJoint;
    return instance;
}

bool OpenclJoint::buffersHoldFrame() const {
    return clFrameCopyA.size() >= frame().bytes() && clFrameCopyB.size() >= frame().bytes() &&
           buffers.hold(clScaledWidth, clScaledHeight, clFrameChannels);
}

void OpenclJoint::freeHostArrays() {
    for (Buffer<std::uint8_t>* buffer :
         {&clFrameCopyA, &clFrameCopyB, &previousWorking, &lastSeen, &canvasCut})
        buffer->reset();
    maskA.reset();
    maskB.reset();
    distances = DistanceMap{};
    overlap = OverlapScratch{};
    estimation = EstimationScratch{};
    modelSide.reset();
    matchSide.reset();
}

bool initJointCL(const FrameSetup& setup) {
    OpenclJoint& cl = openclJoint();
    cl.ready = false;
    debugLine(
        "stitchingImageOffsetCL in11111111111111111111111111111");  // the stitching's name, deliberately
    streamLine("44444444444444444444");
    if (!cl.mosaic.canvas.empty()) cl.mosaic.canvas.release();
    if (!openDevice(cl)) return false;
    // From here on nothing is released on failure: the threads run, and what was made is kept for a next try.
    if (!cl.workers.start()) return false;
    cl.clScaledWidth = setup.rows / cl.clScale;
    cl.clScaledHeight = setup.cols / cl.clScale;
    if (!createDeviceObjects(cl, setup.cols, setup.channels)) return false;
    storeGeometry(cl, setup);
    const bool stitchable =
        usable(setup);  // the check passes all the same, but takes no memory for such frames
    for (Buffer<std::uint8_t>* copy : {&cl.clFrameCopyA, &cl.clFrameCopyB})
        if (stitchable && copy->empty()) copy->ensure(cl.frame().bytes());
    cl.mosaic = Mosaic{};
    cl.ready = stitchable;
    debugLine("init out");
    return true;
}

std::int32_t stichingImagedJointCL(const StitchCall& call) {
    OpenclJoint& cl = openclJoint();
    cl.clRowRangeArgA = call.expected.x;
    cl.clRowRangeArgB = call.expected.y;
    cl.clRowRangeMode = call.expected.use ? 1 : 0;
    return answerStitchCall(call, cl.mosaic, cl.clCanvasLimitA, cl.clCanvasLimitB,
                            [&] { return stitch(cl, call); });
}

bool uinitJointCL() {
    OpenclJoint& cl = openclJoint();
    cl.ready = false;
    // The device's objects go before the threads that use them, deliberately; the threads are idle by now.
    releaseMemObjectsCL(cl);
    releaseKernelsCL(cl);
    releaseDevice(cl);
    cl.workers.join("one_pidCL", "two_pidCL");
    cl.freeHostArrays();
    cl.mosaic = Mosaic{};
    return true;
}

}  // namespace brantel
