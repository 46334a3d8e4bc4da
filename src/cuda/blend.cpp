// Blending a frame into the canvas on the device; the distance maps are made on the processor.
#include <stdexcept>

#include "compose/bands.h"
#include "cuda/current_device.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"

namespace brantel {

/// 255.0 where an image has content. The one-channel kernel takes its column count first and is given the
/// rows there, deliberately (quirk 50): it covers the same elements, but as an image of cols rows.
void CudaEngine::makeMasks(std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows, std::int32_t cols,
                           std::int32_t channels) const {
    if (channels < 2) {
        launchOver(cols, rows, rgb2GaryFloatTwoCh1Kernel, imageA, imageB, rows, cols, maskA.data(),
                   maskB.data());
    } else {
        launchOver(rows, cols, rgb2GaryFloatTwoCh3Kernel, imageA, imageB, rows, cols, maskA.data(),
                   maskB.data());
    }
}

/// Turns both masks into distance maps, side by side with the workers, which have nothing else to do now. A
/// new frame fades out at its own edge; the canvas does not.
bool CudaEngine::distanceMaps(float* mapA, float* mapB, std::int32_t rows, std::int32_t cols) {
    auto canvasMap = [&] { distancesA.transform(mapA, rows, cols); };
    auto frameMap = [&] {
        clearMaskEdge(log, mapB, rows, cols);
        distancesB.transform(mapB, rows, cols);
    };
    return workers.runBoth(Job::of(canvasMap), Job::of(frameMap));
}

std::uint8_t CudaEngine::seamBlend(std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows,
                                   std::int32_t cols, std::int32_t channels, std::uint8_t* weightImage) {
    if (imageA == nullptr || imageB == nullptr || weightImage == nullptr) {
        log.streamLine("ptr is null");
        return 0;
    }
    const std::int64_t pixels = std::int64_t{rows} * cols;
    float* mapA = previousSide.arena.begin(Phase::blending);
    float* mapB = currentSide.arena.begin(Phase::blending);
    makeMasks(imageA, imageB, rows, cols, channels);
    toHost(mapA, maskA, pixels);
    toHost(mapB, maskB, pixels);
    if (!distanceMaps(mapA, mapB, rows, cols)) throw std::runtime_error("no distance maps");
    toDevice(maskA, mapA, pixels);
    toDevice(maskB, mapB, pixels);
    launchOver(rows, cols, getWeightImageKernel, maskA.data(), maskB.data(), rows, cols, weightImage);
    return 1;
}

/// Replaces the canvas cut in patch by the blended frame and leaves that on the device as the next template.
/// The frame is still where the workers read it.
void CudaEngine::blendPatch(std::uint8_t* patch) {
    std::uint8_t* canvasCut = previousSide.frame.data();
    std::uint8_t* current = currentSide.frame.data();
    templateOnDevice = false;
    toDevice(previousSide.frame, patch, frame.bytes());
    if (seamBlend(canvasCut, current, frame.rows, frame.cols, frame.channels, weights.data()) == 0)
        throw std::runtime_error("no weights");
    const auto fuse = frame.channels < 2 ? getFusionImageKernelCh1 : getFusionImageKernelCh3;
    launchOver(frame.rows, frame.cols, fuse, canvasCut, current, weights.data(), frame.rows, frame.cols,
               blended.data());
    onDevice(previousSide.frame, blended, frame.bytes());
    toHost(patch, blended, frame.bytes());
}

bool CudaEngine::stitchingImageImageblend() {
    const OnMosaicDevice device;
    device.require();
    std::uint8_t* patch = stagedPatch.data();
    if (stagedCurrent.data() == nullptr || patch == nullptr) {
        log.streamLine("ptr is null");
        return false;
    }
    if (mosaic.canvas.empty()) {
        log.streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const bool merged = mergeFrame(log, mosaic, frame, patch, [this](std::uint8_t* cut) {
        blendPatch(cut);
        return cut;
    });
    if (!merged) return false;
    keepAsTemplate(patch);
    previousDesc = frame;
    return true;
}

}  // namespace brantel
