// Blending a frame into the canvas on the device; the distance maps are made on the processor.
#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "common/parallel_for.h"
#include "compose/bands.h"
#include "cuda/current_device.h"
#include "cuda/launch.h"
#include "cuda/state.h"
#include "gpu/kernels.h"

namespace brantel {

namespace {

constexpr std::int64_t rowGrain = 32;

}  // namespace

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

/// A new frame fades out at its own edge; the canvas does not. The frame has nothing empty but that edge.
void CudaEngine::ensureEdgeDistances(std::int32_t rows, std::int32_t cols) {
    if (rows == edgeRows && cols == edgeCols) return;
    edgeRows = edgeCols = 0;
    const std::int64_t pixels = std::int64_t{rows} * cols;
    float* map = previousSide.arena.begin(Phase::blending);
    std::fill_n(map, pixels, simd::farDistance);
    clearMaskEdge(log, map, rows, cols);
    distances.transform(map, rows, cols, &workers);
    toDevice(edgeDistances, map, pixels);
    edgeRows = rows;
    edgeCols = cols;
}

std::uint8_t CudaEngine::seamBlend(std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows,
                                   std::int32_t cols, std::int32_t channels, std::uint8_t* weightImage) {
    if (imageA == nullptr || imageB == nullptr || weightImage == nullptr) {
        log.streamLine("ptr is null");
        return 0;
    }
    const std::int64_t pixels = std::int64_t{rows} * cols;
    makeMasks(imageA, imageB, rows, cols, channels);
    ensureEdgeDistances(rows, cols);
    float* map = previousSide.arena.begin(Phase::blending);
    toHost(map, maskA, pixels);
    distances.transform(map, rows, cols, &workers);
    toDevice(maskA, map, pixels);
    launchOver(rows, cols, getWeightImageKernel, maskA.data(), edgeDistances.data(), rows, cols, weightImage);
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
    toHost(patch, blended, frame.bytes());
    previousSide.frame.swap(blended);
}

/// What the canvas holds in the window. Where nothing was painted it is not looked at: its memory may not be there yet.
void CudaEngine::cutWindow(const CanvasWindow& window, std::uint8_t* patch) {
    const std::int64_t line = std::int64_t{frame.cols} * frame.channels;
    parallelFor(&workers, frame.rows, rowGrain, [&](std::int64_t row, std::int64_t last, std::int32_t) {
        for (; row < last; ++row) {
            const ColumnSpan painted = window.paintedIn(row, frame.cols);
            const auto first = static_cast<std::size_t>(painted.first) * frame.channels;
            const auto bytes = static_cast<std::size_t>(painted.length()) * frame.channels;
            std::uint8_t* to = patch + row * line;
            std::memset(to, 0, first);
            std::memcpy(to + first, window.pixels + row * window.stride + first, bytes);
            std::memset(to + first + bytes, 0, static_cast<std::size_t>(line) - first - bytes);
        }
    });
}

/// Writes the blended frame to the canvas and to the host's copy of the template, which it becomes.
void CudaEngine::pasteAndKeep(const std::uint8_t* patch, const CanvasWindow& window) {
    const std::int64_t line = std::int64_t{frame.cols} * frame.channels;
    parallelFor(&workers, frame.rows, rowGrain, [&](std::int64_t row, std::int64_t last, std::int32_t) {
        for (; row < last; ++row) {
            std::memcpy(window.pixels + row * window.stride, patch + row * line,
                        static_cast<std::size_t>(line));
            std::memcpy(templateFrame.data() + row * line, patch + row * line,
                        static_cast<std::size_t>(line));
        }
    });
    templateOnDevice = true;
}

bool CudaEngine::stitchingImageImageblend() {
    const OnMosaicDevice device;
    device.require();
    const struct Wait {  // for the worker, also when blending ends early
        CudaEngine& engine;
        ~Wait() { engine.finishZeroSum(); }
    } wait{*this};
    std::uint8_t* patch = stagedPatch.data();
    if (stagedCurrent.data() == nullptr || patch == nullptr) {
        log.streamLine("ptr is null");
        return false;
    }
    if (mosaic.canvas.empty()) {
        log.streamLine("stitchingImageImageblend ptr is null");
        return false;
    }
    const bool merged = mergeInPlace(mosaic, frame, &workers, [&](const CanvasWindow& window) {
        cutWindow(window, patch);
        blendPatch(patch);
        requireZeroSum();
        pasteAndKeep(patch, window);
        return true;
    });
    if (merged) previousDesc = frame;
    return merged;
}

}  // namespace brantel
