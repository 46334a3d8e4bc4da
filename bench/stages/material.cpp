#include "stages/material.h"

#include <algorithm>
#include <memory>

#include "compose/regions.h"
#include "reference/features.h"
#include "reference/image_ops.h"
#include "silent_log.h"
#include "support/picture.h"

namespace brantel::bench {

namespace {

std::vector<std::uint8_t> greyWithZeroRow(const std::vector<std::uint8_t>& frame, const ImageDesc& size) {
    std::vector<std::uint8_t> grey(frame.begin(), frame.begin() + size.pixels());
    if (size.channels == 3) reference::rgb2gray(silent(), frame.data(), size.rows, size.cols, grey.data());
    grey.resize(grey.size() + static_cast<std::size_t>(size.cols));
    return grey;
}

FrameFeatures featuresOf(const std::vector<std::uint8_t>& frame, const ImageDesc& size) {
    reference::FeatureStage stage(silent(), size, CornerTuning{});
    stage.run(frame.data());
    const FrameFeatures& found = stage.features();
    FrameFeatures features;
    features.corners = found.corners;
    features.descriptors.ensure(found.descriptors.size());
    std::copy_n(found.descriptors.data(), found.descriptors.size(), features.descriptors.data());
    return features;
}

/// A corner of the canvas with the previous frame in its upper left: empty where the current one goes on.
void makeSeam(Material& m) {
    const ImageDesc& size = m.size;
    m.cut.assign(m.current.size(), 0);
    ImageDesc part{};
    std::vector<std::uint8_t> overlap(m.current.size());
    cropImageRegion(silent(), m.previous.data(), {m.offset.y, size.rows, m.offset.x, size.cols}, size.rows,
                    size.cols, size.channels, &part, overlap.data());
    pasteImageRegion(silent(), overlap.data(), part.cols, {0, part.rows, 0, part.cols}, size.rows, size.cols,
                     size.channels, m.cut.data());
}

Material makeMaterial(const ImageDesc& size) {
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

const Material& materialOf(const ImageDesc& size) {
    static std::vector<std::unique_ptr<Material>> kept;
    for (const auto& material : kept)
        if (material->size.rows == size.rows && material->size.cols == size.cols &&
            material->size.channels == size.channels)
            return *material;
    kept.push_back(std::make_unique<Material>(makeMaterial(size)));
    return *kept.back();
}

}  // namespace brantel::bench
