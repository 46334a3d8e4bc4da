// Blending a frame into the canvas on the device; the distance maps are made on the processor.
#include <stdexcept>

#include "common/log.h"
#include "compose/weights.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"

namespace brantel {

namespace {

/// 255.0 where an image has content. The one-channel kernel takes its column count first and is given the
/// rows there, deliberately: it covers the same elements, but as an image of cols rows.
void makeMasks(CudaBackend& cuda, std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows,
               std::int32_t cols, std::int32_t channels) {
    if (channels < 2) {
        launchOver(cols, rows, rgb2GaryFloatTwoCh1Kernel, imageA, imageB, rows, cols, cuda.maskA.data(),
                   cuda.maskB.data());
    } else {
        launchOver(rows, cols, rgb2GaryFloatTwoCh3Kernel, imageA, imageB, rows, cols, cuda.maskA.data(),
                   cuda.maskB.data());
    }
}

/// Turns both masks into distance maps, side by side with the workers, which have nothing else to do now. A
/// new frame fades out at its own edge; the canvas does not.
bool distanceMaps(CudaBackend& cuda, float* mapA, float* mapB, std::int32_t rows, std::int32_t cols) {
    auto canvas = [&] { cuda.distancesA.transform(mapA, rows, cols); };
    auto frame = [&] {
        clearMaskEdge(mapB, rows, cols);
        cuda.distancesB.transform(mapB, rows, cols);
    };
    return cuda.workers.runBoth(Job::of(canvas), Job::of(frame));
}

void fuse(CudaBackend& cuda, std::uint8_t* canvasCut, std::uint8_t* frame, std::uint8_t* fused) {
    const auto kernel = cuda.frame.channels < 2 ? getFusionImageKernelCh1 : getFusionImageKernelCh3;
    launchOver(cuda.frame.rows, cuda.frame.cols, kernel, canvasCut, frame, cuda.weights.data(),
               cuda.frame.rows, cuda.frame.cols, fused);
}

/// Replaces the canvas cut in patch by the blended frame and leaves that on the device as the next template.
/// The frame is still where the workers read it.
void blendPatch(CudaBackend& cuda, std::uint8_t* patch) {
    const FrameSize& frame = cuda.frame;
    cuda.templateOnDevice = false;
    toDevice(cuda.model.frame, patch, frame.bytes());
    if (seamBlend(cuda, cuda.model.frame.data(), cuda.match.frame.data(), frame.rows, frame.cols,
                  frame.channels, cuda.weights.data()) == 0)
        throw std::runtime_error("no weights");
    fuse(cuda, cuda.model.frame.data(), cuda.match.frame.data(), cuda.colourWork.data());
    onDevice(cuda.model.frame, cuda.colourWork, frame.bytes());
    toHost(patch, cuda.colourWork, frame.bytes());
}

}  // namespace

std::uint8_t seamBlend(CudaBackend& cuda, std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows,
                       std::int32_t cols, std::int32_t channels, std::uint8_t* weights) {
    if (imageA == nullptr || imageB == nullptr || weights == nullptr) {
        streamLine("ptr is null");
        return 0;
    }
    const std::int64_t pixels = std::int64_t{rows} * cols;
    float* mapA = cuda.model.hostMap.data();
    float* mapB = cuda.match.hostMap.data();
    makeMasks(cuda, imageA, imageB, rows, cols, channels);
    toHost(mapA, cuda.maskA, pixels);
    toHost(mapB, cuda.maskB, pixels);
    if (!distanceMaps(cuda, mapA, mapB, rows, cols)) throw std::runtime_error("no distance maps");
    toDevice(cuda.maskA, mapA, pixels);
    toDevice(cuda.maskB, mapB, pixels);
    launchOver(rows, cols, getWeightImageKernel, cuda.maskA.data(), cuda.maskB.data(), rows, cols, weights);
    return 1;
}

bool stitchingImageImageblend(CudaBackend& cuda) {
    std::uint8_t* patch = cuda.staging[1].data();
    if (cuda.staging[0].data() == nullptr || patch == nullptr) {
        streamLine("ptr is null");
        return false;
    }
    if (cuda.mosaic.canvas.empty()) {
        streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const bool merged = mergeFrame(cuda.mosaic, cuda.frame, patch, [&cuda](std::uint8_t* cut) {
        blendPatch(cuda, cut);
        return cut;
    });
    if (!merged) return false;
    keepAsTemplate(cuda, patch);
    cuda.previousDesc = {0, cuda.frame.channels, cuda.frame.rows, cuda.frame.cols};
    return true;
}

}  // namespace brantel
