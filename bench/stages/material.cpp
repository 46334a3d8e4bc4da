#include "stages/material.h"

#include <algorithm>
#include <memory>

#include "plain/image_ops.h"
#include "plain/regions.h"
#include "plain/weights.h"
#include "support/picture.h"

namespace brantel::bench {

namespace {

std::vector<std::uint8_t> greyWithZeroRow(const std::vector<std::uint8_t>& frame, const FrameSize& size) {
    std::vector<std::uint8_t> grey(frame.begin(), frame.begin() + size.pixels());
    if (size.channels == 3) plain::rgb2gray(frame.data(), size.rows, size.cols, grey.data());
    grey.resize(grey.size() + static_cast<std::size_t>(size.cols));
    return grey;
}

plain::FrameFeatures featuresOf(const std::vector<std::uint8_t>& frame, const FrameSize& size) {
    plain::FeatureStage stage(size.rows, size.cols, size.channels, CornerTuning{});
    stage.run(frame.data(), nullptr);
    return stage.features();
}

/// A corner of the canvas with the previous frame in its upper left: empty where the current one goes on.
void makeSeam(Material& m) {
    const FrameSize& size = m.size;
    m.cut.assign(m.current.size(), 0);
    ImageDesc part{};
    std::vector<std::uint8_t> overlap(m.current.size());
    plain::cropImageRegion(m.previous.data(), {m.offset.y, size.rows, m.offset.x, size.cols}, size.rows,
                           size.cols, size.channels, &part, overlap.data());
    plain::pasteImageRegion(overlap.data(), part.cols, {0, part.rows, 0, part.cols}, size.rows, size.cols,
                            size.channels, m.cut.data());
    m.cutMask.resize(m.pixels());
    m.frameMask.resize(m.pixels());
    m.weights.resize(m.pixels());
    plain::weightMask(m.cut.data(), m.current.data(), size.rows, size.cols, size.channels, m.cutMask.data(),
                      m.frameMask.data(), m.weights.data());
}

Material makeMaterial(const FrameSize& size) {
    Material m;
    m.size = size;
    m.offset = {size.cols / 8 * 2, size.rows / 16 * 2};
    const test::Picture picture = test::makePicture(test::Texture::fine, size.rows + m.offset.y,
                                                    size.cols + m.offset.x, size.channels, 31);
    m.previous = picture.window(0, 0, size.rows, size.cols);
    m.current = picture.window(m.offset.x, m.offset.y, size.rows, size.cols);
    test::addNoise(m.previous, 3, 1);
    test::addNoise(m.current, 3, 2);
    m.previousGrey = greyWithZeroRow(m.previous, size);
    m.currentGrey = greyWithZeroRow(m.current, size);
    m.previousFeatures = featuresOf(m.previous, size);
    m.currentFeatures = featuresOf(m.current, size);
    makeSeam(m);
    return m;
}

}  // namespace

const Material& materialOf(const FrameSize& size) {
    static std::vector<std::unique_ptr<Material>> kept;
    for (const auto& material : kept)
        if (material->size.rows == size.rows && material->size.cols == size.cols &&
            material->size.channels == size.channels)
            return *material;
    kept.push_back(std::make_unique<Material>(makeMaterial(size)));
    return *kept.back();
}

}  // namespace brantel::bench
