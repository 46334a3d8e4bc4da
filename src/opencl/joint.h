// The OpenCL backend's state: one mosaic per process, held in one instance.
#pragma once

#include <cstdint>

#include "common/stitch_call.h"
#include "common/tuning.h"
#include "common/worker_pair.h"
#include "compose/distance_map.h"
#include "compose/mosaic.h"
#include "cpu/brightness.h"
#include "opencl/feature_side.h"
#include "opencl/tables.h"

namespace brantel {

/// "Width" is the number of rows and "height" the number of columns throughout this backend: the names keep
/// the order of initJoint's arguments.
struct OpenclJoint {
    cl_context clContext = nullptr;
    cl_device_id clDevice = nullptr;
    cl_command_queue clCommandQueue = nullptr;
    cl_program clProgram = nullptr;
    std::int32_t amdPlatformIndex = -1;
    std::int32_t nvidiaPlatformIndex = -1;
    KernelTable kernels;
    BufferTable buffers;

    bool ready = false;
    std::int32_t clScale = scaleDivisor;
    std::int32_t clCornerParam = 1;
    std::int32_t clMaxCornerNum = cornerBudgetFor(1);
    std::int32_t clMaxCandidateNum = 7 * cornerBudgetFor(1);
    std::int32_t clCanvasLimitA = 30000;  // the limits only ever shrink, also over initialisations
    std::int32_t clCanvasLimitB = 30000;
    std::int32_t clFrameWidth = 0;
    std::int32_t clFrameHeight = 0;
    std::int32_t clFrameChannels = 0;
    std::int32_t clScaledWidth = 0;
    std::int32_t clScaledHeight = 0;
    std::int32_t clDownFactor = 2;
    std::int32_t clHalfWidth = 0;
    std::int32_t clHalfHeight = 0;

    std::int32_t clRowRangeArgA = 0;
    std::int32_t clRowRangeArgB = 0;
    std::uint8_t clRowRangeMode = 0;

    Mosaic mosaic;
    ImageDesc previousDesc{};
    ImageDesc currentDesc{};
    ClFeatureSide modelSide{modelParts};  // previous frame
    ClFeatureSide matchSide{matchParts};  // current frame
    EstimationScratch estimation;
    WorkerPair workers;
    bool deviceFailed = false;  // in the present call, outside the workers

    Buffer<std::uint8_t> clFrameCopyA;     // the template of the next call
    Buffer<std::uint8_t> clFrameCopyB;     // the current frame
    Buffer<std::uint8_t> previousWorking;  // the previous frame of this call
    Buffer<std::uint8_t> lastSeen;         // reference of the motion test
    Buffer<std::uint8_t> canvasCut;
    Buffer<float> maskA;
    Buffer<float> maskB;
    DistanceMap distances;
    OverlapScratch overlap;

    FrameSize frame() const { return {clScaledWidth, clScaledHeight, clFrameChannels}; }
    /// True when the buffers of the first initialisation hold frames of the present size.
    bool buffersHoldFrame() const;
    void freeHostArrays();
};

/// The one instance. It is never destroyed: its worker threads wait in it until the process ends.
OpenclJoint& openclJoint();

/// Picks a GPU on an AMD or NVIDIA platform, reports on it and makes a context on it; null when there is none
/// that will do.
cl_context CreateContext(OpenclJoint& cl);

/// Builds the kernels of "cl.bin" in the current directory for the context's device.
cl_program CreateProgram(OpenclJoint& cl);

/// Prejudges both frames, starts the mosaic of a continue flag of 0, estimates the shift and judges the
/// frame.
bool stitchingImageOffsetCL(OpenclJoint& cl, const StitchCall& call, std::uint8_t* previousFrame,
                            const ImageDesc& previousDesc, const ImageDesc& currentDesc);

/// Finds the features of both frames at the same time and estimates the offset from them.
bool imageMosaicFun(OpenclJoint& cl, std::uint8_t* previousFrame, std::uint8_t* currentFrame);

/// Motion between a frame and the current one: the mean absolute difference of their smoothed
/// grey images, computed on the device. False when a step failed.
bool measureMotion(OpenclJoint& cl, std::uint8_t* lastSeen, std::int64_t* motion);

/// Blends the current frame into the canvas; it becomes the template of the next call.
bool stitchingImageImageblend(OpenclJoint& cl);

}  // namespace brantel
