// The table of the device's buffers and of the host's page-locked ones.
#include <algorithm>

#include "cuda/current_device.h"
#include "cuda/state.h"

namespace brantel {

namespace {

/// The columns of a packed image where there is one.
std::int64_t packedColumns(const ImageDesc& frame) {
    return frame.cols % 2 == 0 ? 0 : frame.cols - 1;
}

/// Visits the device and staging buffers with their sizes for the present frame, in the order in which they
/// are allocated.
template <class Visit>
void eachBuffer(CudaEngine& cuda, Visit&& visit) {
    const std::int64_t pixels = cuda.frame.pixels();
    const std::int64_t colour = cuda.frame.bytes();
    const auto padded = [&](std::int64_t border) {
        return (cuda.frame.rows + 2 * border) * (cuda.frame.cols + 2 * border);
    };
    const auto sides = {&cuda.previousSide, &cuda.currentSide};
    const auto overlaps = {&cuda.overlapPrevious, &cuda.overlapCurrent};
    const auto motions = {&cuda.motionPrevious, &cuda.motionCurrent};
    visit(cuda.blended, colour);
    for (auto* staged : {&cuda.stagedCurrent, &cuda.stagedPatch}) visit(*staged, colour);
    for (auto* side : sides) visit(side->frame, colour);
    for (auto* side : sides) visit(side->grey, pixels);
    for (auto* side : sides) visit(side->half, pixels);
    for (auto* side : overlaps) visit(side->colour, colour);
    for (auto* side : overlaps) visit(side->grey, pixels);
    for (auto* side : overlaps)
        for (auto* buffer : {&side->padded, &side->smoothed}) visit(*buffer, padded(1));
    // One more: the row-range kernel writes one element behind every row of its range, also behind the last
    // row of a whole frame.
    for (auto* side : sides) visit(side->crop, pixels + 1);
    for (auto* mask : {&cuda.maskA, &cuda.maskB}) visit(*mask, pixels);
    visit(cuda.weights, pixels);
    for (auto* side : sides)
        for (auto* product : {&side->xx, &side->yy, &side->xy}) visit(*product, pixels);
    visit(cuda.lastFrame, colour);
    for (auto* side : motions) visit(side->grey, pixels);
    for (auto* side : motions)
        for (auto* buffer : {&side->paddedA, &side->paddedB}) visit(*buffer, padded(2));
    for (auto* side : sides)
        for (auto* buffer : {&side->paddedA, &side->paddedB}) visit(*buffer, padded(2));
    for (auto* side : sides) visit(side->packed, std::int64_t{cuda.frame.rows} * packedColumns(cuda.frame));
    visit(cuda.edgeDistances, pixels);
}

template <class Visit>
void eachPageLockedMap(CudaEngine& cuda, Visit&& visit) {
    const std::int64_t images = HostImages::sizeFor(cuda.frame, cuda.tuning.workingScale);
    for (CudaSide* side : {&cuda.previousSide, &cuda.currentSide})
        visit(side->arena.block, std::max(images, cuda.frame.pixels()));
}

std::int64_t productPixels(const ImageDesc& frame, std::int32_t workingScale) {
    return std::int64_t{frame.rows / workingScale} * (frame.cols / workingScale);
}

/// The gradient kernel leaves the outermost rows and columns alone and the row-range kernel most of its
/// range; both are read. Cleared once, so that no result depends on what the device's memory held before.
void clearPartlyWritten(CudaSide& side) {
    for (const DeviceBuffer<float>* product : {&side.xx, &side.yy, &side.xy})
        if (product->data() != nullptr) cudaMemset(product->data(), 0, bytesOf<float>(product->size()));
    if (side.crop.data() != nullptr) cudaMemset(side.crop.data(), 0, bytesOf<char>(side.crop.size()));
}

}  // namespace

HostImages::HostImages(float* memory, const ImageDesc& frame, std::int32_t workingScale)
    : xx(memory),
      yy(xx + productPixels(frame, workingScale)),
      xy(yy + productPixels(frame, workingScale)),
      grey(reinterpret_cast<std::uint8_t*>(xy + productPixels(frame, workingScale))) {}

std::int64_t HostImages::sizeFor(const ImageDesc& frame, std::int32_t workingScale) {
    constexpr auto perFloat = static_cast<std::int64_t>(sizeof(float));
    return 3 * productPixels(frame, workingScale) + (frame.pixels() + frame.cols + perFloat - 1) / perFloat;
}

void CudaSide::freeHostArrays() {
    reduced.reset();
    selection = {};
    std::vector<std::uint16_t>().swap(scratch);  // "= {}" would keep the memory
    features = {};
}

void CudaEngine::keepFirstError(cudaError_t code) {
    if (allocationError_ == cudaSuccess) allocationError_ = code;
}

/// Failures show in the trial at the end of the initialisation.
void CudaEngine::allocateDeviceBuffers() {
    allocationError_ = cudaSuccess;
    eachBuffer(*this,
               [this](auto& buffer, std::int64_t count) { keepFirstError(buffer.allocateMissing(count)); });
    clearPartlyWritten(previousSide);
    clearPartlyWritten(currentSide);
}

void CudaEngine::allocatePageLockedMaps() {
    eachPageLockedMap(
        *this, [this](auto& buffer, std::int64_t count) { keepFirstError(buffer.allocateMissing(count)); });
}

bool CudaEngine::buffersHoldFrame() {
    bool hold = templateFrame.size() >= frame.bytes();
    const auto test = [&hold](const auto& buffer, std::int64_t count) {
        hold = hold && buffer.size() >= count;
    };
    eachBuffer(*this, test);
    eachPageLockedMap(*this, test);
    return hold;
}

void CudaEngine::freeBuffers() {
    const OnMosaicDevice device;
    templateOnDevice = false;
    eachBuffer(*this, [](auto& buffer, std::int64_t) { buffer.reset(); });
    eachPageLockedMap(*this, [](auto& buffer, std::int64_t) { buffer.reset(); });
    previousSide.freeHostArrays();
    currentSide.freeHostArrays();
    templateFrame.reset();
    distances = DistanceMap{};
    edgeRows = edgeCols = 0;
    estimation = EstimationScratch{};
    for (OverlapSide* side : {&overlapPrevious, &overlapCurrent}) side->zeroSum.reset();
}

}  // namespace brantel
