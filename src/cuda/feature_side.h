// What a worker does with its frame: grey image and gradient products on the device, corners and descriptors
// on the processor.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/tuning.h"
#include "common/types.h"
#include "cuda/memory.h"
#include "registration/consensus.h"

namespace brantel {

using GreyKernel = void (*)(unsigned char*, int, int, unsigned char*);

/// One of the two frames of a registration with everything its worker needs; the sides share nothing.
struct CudaSide {
    GreyKernel greyKernel;

    DeviceBuffer<std::uint8_t> frame;
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> half;  // the grey image at the size corners are found on
    DeviceBuffer<std::uint8_t> strip;
    DeviceBuffer<float> xx;
    DeviceBuffer<float> yy;
    DeviceBuffer<float> xy;
    DeviceBuffer<float> paddedA;
    DeviceBuffer<float> paddedB;

    PageLockedBuffer<float> hostMap;  // smoothed xx; blending borrows it for a distance map
    Buffer<float> hostYy;
    Buffer<float> hostXy;
    Buffer<float> response;
    Buffer<std::uint8_t> hostGrey;       // rows x cols and a zeroed row behind it, which descriptors read
    std::vector<std::uint16_t> scratch;  // of the descriptor builder
    FrameFeatures features;

    explicit CudaSide(GreyKernel kernel) : greyKernel(kernel) {}
    void freeHostArrays();
};

/// What both workers are told.
struct CudaJob {
    ImageDesc record;
    ExpectedShift expected;
    CornerTuning tuning;
};

/// Fills side.features from side.frame. Throws DeviceError when a CUDA call fails.
void runFeatureJob(CudaSide& side, const CudaJob& job);

/// Appends the corners of a grey device image of the job's frame size. False, with a line, without corners.
bool detectCorners(CudaSide& side, std::uint8_t* image, const CudaJob& job);

/// The same on the strip that the other frame overlaps under the expected shift. The strip is cut by a kernel
/// that fills one element per row, and is searched at the frame's size: what is found there says little.
/// Deliberate; nothing may rely on the strip's contents. Always true.
bool detectCornersInStrip(CudaSide& side, std::uint8_t* grey, const CudaJob& job);

}  // namespace brantel
