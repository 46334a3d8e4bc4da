// The CUDA backend: one mosaic per process, held in one state.
#pragma once

#include <cstdint>

#include "common/stitch_call.h"
#include "common/worker_pair.h"
#include "compose/distance_map.h"
#include "compose/mosaic.h"
#include "cuda/feature_side.h"
#include "cuda/memory.h"

namespace brantel {

/// One of the two overlap cuts that the brightness test compares.
struct OverlapSide {
    DeviceBuffer<std::uint8_t> colour;
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> padded;    // by 1
    DeviceBuffer<std::uint8_t> smoothed;  // 3 x 3, padded
    Buffer<std::uint8_t> cut;
    Buffer<std::uint8_t> zeroSum;  // the cut's filtered half-size image; no decision looks at it
};

/// One of the two images of the motion test.
struct MotionSide {
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> paddedA;  // by 2
    DeviceBuffer<std::uint8_t> paddedB;
};

struct CudaBackend {
    bool ready = false;
    FrameSize frame{};  // working size: the frame divided by scaleDivisor
    CornerTuning tuning;
    std::int32_t limitRows = 30000;  // only ever lowered
    std::int32_t limitCols = 30000;
    ImageDesc previousDesc{};
    ImageDesc currentDesc{};
    ExpectedShift expected;
    Mosaic mosaic;
    bool templateOnDevice = false;  // model.frame holds the template of the next call

    CudaSide model;  // previous frame
    CudaSide match;  // current frame
    WorkerPair workers;
    EstimationScratch estimation;

    DeviceBuffer<std::uint8_t> colourWork;      // the fused frame
    PageLockedBuffer<std::uint8_t> staging[2];  // the current frame; the canvas cut and then the fused frame
    OverlapSide overlapPrevious;
    OverlapSide overlapCurrent;
    DeviceBuffer<float> maskA;
    DeviceBuffer<float> maskB;
    DistanceMap distancesA;
    DistanceMap distancesB;
    DeviceBuffer<std::uint8_t> weights;
    DeviceBuffer<std::uint8_t> lastFrame;  // the last frame seen, reference of the motion test
    MotionSide motionPrevious;
    MotionSide motionCurrent;
    Buffer<std::uint8_t> coonerValue;  // host copy of the template of the next call
    Buffer<std::uint8_t> resizOne;     // the previous frame on the host, after reduction
    Buffer<std::uint8_t> resizTwo;     // the current frame after reduction

    CudaBackend();

    void allocateDeviceBuffers();
    void allocateHostMaps();
    /// True when all buffers are there and hold frames of the present size.
    bool buffersHoldFrame();
    void freeBuffers();
};

/// The one instance. It is never destroyed: worker threads may still wait in it when the process ends.
CudaBackend& cudaBackend();

/// Prepares the frames, starts the mosaic of a continue flag of 0, estimates the shift and judges the frame.
bool stitchingImageOffset(CudaBackend& cuda, const StitchCall& call);

/// Finds the features of both frames at the same time and estimates the offset from them.
bool imageMosaicFun(CudaBackend& cuda);

/// The motion test of the current frame against the last one seen: assigns stitch_flags.
void judgeByMotion(CudaBackend& cuda, const DeviceBuffer<std::uint8_t>& lastSeen);

/// The brightness test of the overlap: may set stitch_flags, never clears it.
void judgeByBrightness(CudaBackend& cuda);

/// Blends the current frame into the canvas; it becomes the template of the next call.
bool stitchingImageImageblend(CudaBackend& cuda);

/// An accepted frame, which model.frame holds, becomes the template of the next call.
void keepAsTemplate(CudaBackend& cuda, const std::uint8_t* accepted);

/// Weight of image A against image B for every pixel. 0, with "ptr is null", for a null image, else 1.
std::uint8_t seamBlend(CudaBackend& cuda, std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows,
                       std::int32_t cols, std::int32_t channels, std::uint8_t* weights);

}  // namespace brantel
