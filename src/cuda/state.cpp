#include "cuda/state.h"

#include "gpu/kernels.h"

namespace brantel {

namespace {

/// Visits the device and staging buffers with their sizes for the present frame, in the order in which they
/// are allocated.
template <class Visit>
void eachBuffer(CudaBackend& cuda, Visit&& visit) {
    const std::int64_t pixels = cuda.frame.pixels();
    const std::int64_t colour = cuda.frame.bytes();
    const auto padded = [&](std::int64_t border) {
        return (cuda.frame.rows + 2 * border) * (cuda.frame.cols + 2 * border);
    };
    visit(cuda.colourWork, colour);
    for (auto& buffer : cuda.staging) visit(buffer, colour);
    for (auto* side : {&cuda.model, &cuda.match}) visit(side->frame, colour);
    for (auto* side : {&cuda.model, &cuda.match}) visit(side->grey, pixels);
    for (auto* side : {&cuda.model, &cuda.match}) visit(side->half, pixels);
    for (auto* side : {&cuda.overlapPrevious, &cuda.overlapCurrent}) visit(side->colour, colour);
    for (auto* side : {&cuda.overlapPrevious, &cuda.overlapCurrent}) visit(side->grey, pixels);
    for (auto* side : {&cuda.overlapPrevious, &cuda.overlapCurrent}) {
        visit(side->padded, padded(1));
        visit(side->smoothed, padded(1));
    }
    // One more: the row-range kernel writes one element behind every strip row, also the last of a whole
    // frame.
    for (auto* side : {&cuda.model, &cuda.match}) visit(side->strip, pixels + 1);
    visit(cuda.maskA, pixels);
    visit(cuda.maskB, pixels);
    visit(cuda.weights, pixels);
    for (auto* side : {&cuda.model, &cuda.match})
        for (auto* product : {&side->xx, &side->yy, &side->xy}) visit(*product, pixels);
    visit(cuda.lastFrame, colour);
    for (auto* side : {&cuda.motionPrevious, &cuda.motionCurrent}) visit(side->grey, pixels);
    for (auto* side : {&cuda.motionPrevious, &cuda.motionCurrent}) {
        visit(side->paddedA, padded(2));
        visit(side->paddedB, padded(2));
    }
    for (auto* side : {&cuda.model, &cuda.match}) {
        visit(side->paddedA, padded(2));
        visit(side->paddedB, padded(2));
    }
}

template <class Visit>
void eachHostMap(CudaBackend& cuda, Visit&& visit) {
    for (CudaSide* side : {&cuda.model, &cuda.match}) visit(side->hostMap, cuda.frame.pixels());
}

/// The gradient kernel leaves the outermost rows and columns alone and the row-range kernel most of a strip;
/// both are read. Cleared once, so that no result depends on what the device's memory held before.
void clearPartlyWritten(CudaSide& side) {
    for (const DeviceBuffer<float>* product : {&side.xx, &side.yy, &side.xy})
        if (product->data() != nullptr) cudaMemset(product->data(), 0, bytesOf<float>(product->size()));
    if (side.strip.data() != nullptr) cudaMemset(side.strip.data(), 0, bytesOf<char>(side.strip.size()));
}

}  // namespace

CudaBackend::CudaBackend() : model(rgb2GaryKernel), match(rgb2GaryKernel2) {}

void CudaBackend::allocateDeviceBuffers() {
    // Failures show when a frame is stitched: see buffersHoldFrame().
    eachBuffer(*this, [](auto& buffer, std::int64_t count) { buffer.allocateMissing(count); });
    clearPartlyWritten(model);
    clearPartlyWritten(match);
}

void CudaBackend::allocateHostMaps() {
    eachHostMap(*this, [](auto& buffer, std::int64_t count) { buffer.allocateMissing(count); });
}

bool CudaBackend::buffersHoldFrame() {
    bool hold = coonerValue.size() >= frame.bytes();
    const auto test = [&hold](const auto& buffer, std::int64_t count) {
        hold = hold && buffer.data() != nullptr && buffer.size() >= count;
    };
    eachBuffer(*this, test);
    eachHostMap(*this, test);
    return hold;
}

void CudaBackend::freeBuffers() {
    eachBuffer(*this, [](auto& buffer, std::int64_t) { buffer.reset(); });
    eachHostMap(*this, [](auto& buffer, std::int64_t) { buffer.reset(); });
    model.freeHostArrays();
    match.freeHostArrays();
    distancesA = DistanceMap{};
    distancesB = DistanceMap{};
    for (Buffer<std::uint8_t>* buffer :
         {&coonerValue, &resizOne, &resizTwo, &overlapPrevious.cut, &overlapPrevious.zeroSum,
          &overlapCurrent.cut, &overlapCurrent.zeroSum})
        buffer->reset();
}

CudaBackend& cudaBackend() {
    static CudaBackend& instance = *new CudaBackend;
    return instance;
}

}  // namespace brantel
