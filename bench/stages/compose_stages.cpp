// The judgement of a frame and its way onto the canvas.
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>

#include "compose/canvas.h"
#include "compose/distance_map.h"
#include "compose/judgement.h"
#include "compose/regions.h"
#include "compose/seam.h"
#include "compose/weights.h"
#include "cpu/image_ops.h"
#include "plain/image_ops.h"
#include "plain/judgement.h"
#include "plain/regions.h"
#include "plain/weights.h"
#include "stages/stage.h"

namespace brantel::bench {

namespace {

template <class T>
using Shared = std::shared_ptr<std::vector<T>>;

template <class T>
Shared<T> room(std::int64_t count) {
    return std::make_shared<std::vector<T>>(static_cast<std::size_t>(count));
}

/// All four brightness measures, the images being grey already.
Twins brightness(const Material& m) {
    auto sum = std::make_shared<float>(0.0F);
    return {[=, &m] {
                for (const auto* image : {&m.previousGrey, &m.currentGrey})
                    *sum += plain::meanGrey(image->data(), m.size.rows, m.size.cols) +
                            plain::meanOfBright(image->data(), m.pixels());
            },
            [=, &m] {
                for (const auto* image : {&m.previousGrey, &m.currentGrey})
                    *sum += meanGrey(image->data(), m.size.rows, m.size.cols) +
                            meanOfBright(image->data(), m.pixels());
            },
            {}};
}

/// Smoothing of one grey frame.
Twins motionSmoothing(const Material& m) {
    const std::int64_t padded = (std::int64_t{m.size.rows} + 4) * (m.size.cols + 4);
    auto grey = room<std::uint8_t>(m.pixels());
    auto paddedA = room<std::uint8_t>(padded);
    auto paddedB = room<std::uint8_t>(padded);
    return {[=, &m] {
                plain::smoothGrey(grey->data(), m.size.rows, m.size.cols, paddedA->data(), paddedB->data());
            },
            [=, &m] { smoothGrey(grey->data(), m.size.rows, m.size.cols, paddedA->data(), paddedB->data()); },
            [=, &m] { std::memcpy(grey->data(), m.currentGrey.data(), grey->size()); }};
}

Twins motionDifference(const Material& m) {
    auto sum = std::make_shared<std::int64_t>(0);
    return {
        [=, &m] {
            *sum += plain::meanAbsoluteDifference(m.previousGrey.data(), m.currentGrey.data(), m.pixels());
        },
        [=, &m] { *sum += meanAbsoluteDifference(m.previousGrey.data(), m.currentGrey.data(), m.pixels()); },
        {}};
}

struct Canvas {
    cv::Mat picture;
    Region region{};
    plain::Region twin() const { return {region.rowStart, region.rowEnd, region.colStart, region.colEnd}; }
};

/// A canvas that is twice as long as the frame on each side, the frame's rectangle in its middle.
std::shared_ptr<Canvas> canvasFor(const Material& m) {
    auto canvas = std::make_shared<Canvas>();
    const FrameSize& size = m.size;
    canvas->picture = cv::Mat(2 * size.rows, 2 * size.cols, CV_8UC(size.channels), cv::Scalar::all(9));
    canvas->region = {size.rows / 2, size.rows / 2 + size.rows, size.cols / 2, size.cols / 2 + size.cols};
    return canvas;
}

Twins cut(const Material& m) {
    auto canvas = canvasFor(m);
    auto out = room<std::uint8_t>(m.size.bytes());
    auto desc = std::make_shared<ImageDesc>();
    const cv::Mat& picture = canvas->picture;
    return {[=, &m, &picture] {
                plain::cropImageRegion(picture.data, canvas->twin(), picture.rows, picture.cols,
                                       m.size.channels, desc.get(), out->data());
            },
            [=, &m, &picture] {
                cropImageRegion(picture.data, canvas->region, picture.rows, picture.cols, m.size.channels,
                                desc.get(), out->data());
            },
            {}};
}

Twins paste(const Material& m) {
    auto canvas = canvasFor(m);
    cv::Mat& picture = canvas->picture;
    return {[=, &m, &picture] {
                plain::pasteImageRegion(m.current.data(), m.size.cols, canvas->twin(), picture.rows,
                                        picture.cols, m.size.channels, picture.data);
            },
            [=, &m, &picture] {
                pasteImageRegion(m.current.data(), m.size.cols, canvas->region, picture.rows, picture.cols,
                                 m.size.channels, picture.data);
            },
            {}};
}

/// Both masks.
Twins masks(const Material& m) {
    auto maskA = room<float>(m.pixels());
    auto maskB = room<float>(m.pixels());
    const FrameSize& s = m.size;
    return {[=, &m, &s] {
                plain::occupancyMask(m.cut.data(), s.rows, s.cols, s.channels, maskA->data());
                plain::occupancyMask(m.current.data(), s.rows, s.cols, s.channels, maskB->data());
                plain::clearMaskEdge(maskB->data(), s.rows, s.cols);
            },
            [=, &m, &s] {
                occupancyMask(m.cut.data(), s.rows, s.cols, s.channels, maskA->data());
                occupancyMask(m.current.data(), s.rows, s.cols, s.channels, maskB->data());
                clearMaskEdge(maskB->data(), s.rows, s.cols);
            },
            {}};
}

/// Both masks' distances.
Twins chamfer(const Material& m) {
    auto maskA = room<float>(m.pixels());
    auto maskB = room<float>(m.pixels());
    auto map = std::make_shared<DistanceMap>();
    const FrameSize& s = m.size;
    return {[=, &s] {
                plain::chamferDistance(maskA->data(), s.rows, s.cols);
                plain::chamferDistance(maskB->data(), s.rows, s.cols);
            },
            [=, &s] {
                map->transform(maskA->data(), s.rows, s.cols);
                map->transform(maskB->data(), s.rows, s.cols);
            },
            [=, &m, &s] {
                plain::occupancyMask(m.cut.data(), s.rows, s.cols, s.channels, maskA->data());
                plain::occupancyMask(m.current.data(), s.rows, s.cols, s.channels, maskB->data());
                plain::clearMaskEdge(maskB->data(), s.rows, s.cols);
            }};
}

Twins weights(const Material& m) {
    auto out = room<std::uint8_t>(m.pixels());
    return {[=, &m] {
                plain::weightsFromDistances(m.cutMask.data(), m.frameMask.data(), m.pixels(), out->data());
            },
            [=, &m] { weightsFromDistances(m.cutMask.data(), m.frameMask.data(), m.pixels(), out->data()); },
            {}};
}

/// Masks, distances and weights in one go.
Twins weightMaskWhole(const Material& m) {
    auto maskA = room<float>(m.pixels());
    auto maskB = room<float>(m.pixels());
    auto out = room<std::uint8_t>(m.pixels());
    const FrameSize& s = m.size;
    return {[=, &m, &s] {
                plain::weightMask(m.cut.data(), m.current.data(), s.rows, s.cols, s.channels, maskA->data(),
                                  maskB->data(), out->data());
            },
            [=, &m, &s] {
                weightMask(m.cut.data(), m.current.data(), s.rows, s.cols, s.channels, maskA->data(),
                           maskB->data(), out->data());
            },
            {}};
}

Twins fuse(const Material& m) {
    auto frame = room<std::uint8_t>(m.size.bytes());
    *frame = m.current;
    return {
        [=, &m] {
            plain::fuseImages(m.cut.data(), m.weights.data(), m.pixels(), m.size.channels, frame->data());
        },
        [=, &m] { fuseImages(m.cut.data(), m.weights.data(), m.pixels(), m.size.channels, frame->data()); },
        {}};
}

/// The whole way of a judged frame onto the canvas. The window is made anew before every run.
Twins blend(const Material& m) {
    struct State {
        std::vector<std::uint8_t> patch;
        std::vector<std::uint8_t> blended;
        std::vector<std::uint8_t> weights;
        std::vector<float> maskA;
        std::vector<float> maskB;
        Buffer<std::uint8_t> blendedGrey;
        SeamScratch seam;
    };
    auto canvas = canvasFor(m);
    auto state = std::make_shared<State>();
    for (auto* image : {&state->patch, &state->blended}) image->resize(m.size.bytes());
    for (auto* mask : {&state->maskA, &state->maskB}) mask->resize(m.pixels());
    state->weights.resize(m.pixels());
    state->blendedGrey.ensure(m.pixels() + m.size.cols);
    cv::Mat& picture = canvas->picture;
    return {
        [=, &m, &picture] {
            const FrameSize& s = m.size;
            ImageDesc desc{};
            plain::cropImageRegion(picture.data, canvas->twin(), picture.rows, picture.cols, s.channels,
                                   &desc, state->patch.data());
            plain::weightMask(state->patch.data(), m.current.data(), s.rows, s.cols, s.channels,
                              state->maskA.data(), state->maskB.data(), state->weights.data());
            state->blended = m.current;
            plain::fuseImages(state->patch.data(), state->weights.data(), m.pixels(), s.channels,
                              state->blended.data());
            plain::pasteImageRegion(state->blended.data(), s.cols, canvas->twin(), picture.rows, picture.cols,
                                    s.channels, picture.data);
        },
        [=, &m, &picture] {
            const SeamFrame frame(m.current.data(), m.currentGrey.data(), m.size);
            state->seam.ensure(m.size, frame.isFull);
            const std::vector<ColumnSpan> anywhere(static_cast<std::size_t>(m.size.rows), {0, m.size.cols});
            const CanvasWindow window{picture.ptr(canvas->region.rowStart, canvas->region.colStart),
                                      static_cast<std::int64_t>(picture.step[0]), anywhere.data(), 0};
            blendSeam(window, frame, m.size, state->seam, state->blendedGrey.data(), nullptr);
        },
        [=, &m, &picture] {
            plain::pasteImageRegion(m.cut.data(), m.size.cols, canvas->twin(), picture.rows, picture.cols,
                                    m.size.channels, picture.data);
        }};
}

/// The first frame's zero samples.
Twins zeroSamples(const Material& m) {
    auto frame = room<std::uint8_t>(m.size.bytes());
    return {[=] {
                for (std::uint8_t& sample : *frame)
                    if (sample == 0) sample = 1;
            },
            [=] { fillZeroSamples(frame->data(), static_cast<std::int64_t>(frame->size())); },
            [=, &m] { *frame = m.current; }};
}

/// A new canvas with the frame at its centre.
Twins newCanvas(const Material& m) {
    auto mosaic = std::make_shared<Mosaic>();
    auto plainCanvas = std::make_shared<cv::Mat>();
    const FrameSize& s = m.size;
    return {[=, &m, &s] {
                *plainCanvas = cv::Mat::zeros(6000, 6000, CV_8UC(s.channels));
                const plain::Region region{3000 - s.rows / 2, 3000 - s.rows / 2 + s.rows, 3000 - s.cols / 2,
                                           3000 - s.cols / 2 + s.cols};
                plain::pasteImageRegion(m.current.data(), s.cols, region, 6000, 6000, s.channels,
                                        plainCanvas->data);
            },
            [=, &m] { startMosaic(*mosaic, m.current.data(), m.size); },
            [=] {
                plainCanvas->release();
                mosaic->canvas.release();
            }};
}

}  // namespace

std::vector<Stage> judgementStages() {
    return {{"brightness", {1}, brightness},
            {"motion-smoothing", {1}, motionSmoothing},
            {"motion-difference", {1}, motionDifference}};
}

std::vector<Stage> composeStages() {
    return {{"cut", {1, 3}, cut},
            {"masks", {1, 3}, masks},
            {"chamfer", {1}, chamfer},
            {"weights", {1}, weights},
            {"weight-mask", {1, 3}, weightMaskWhole},
            {"fuse", {1, 3}, fuse},
            {"paste", {1, 3}, paste},
            {"blend", {1, 3}, blend},
            {"zero-samples", {3}, zeroSamples},
            {"new-canvas", {1, 3}, newCanvas}};
}

}  // namespace brantel::bench
