// The acceptance of a frame and its way onto the canvas.
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>

#include "compose/acceptance.h"
#include "compose/bands.h"
#include "compose/distance_map.h"
#include "compose/motion.h"
#include "compose/regions.h"
#include "compose/seam.h"
#include "reference/acceptance.h"
#include "reference/filters.h"
#include "reference/image_ops.h"
#include "reference/weights.h"
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
Versions brightness(const Material& m) {
    auto sum = std::make_shared<float>(0.0F);
    const ImageDesc& s = m.size;
    return {[=, &m, &s] {
                for (const auto* image : {&m.previousGrey, &m.currentGrey})
                    *sum += reference::meanGrey(image->data(), s.rows, s.cols) +
                            reference::meanOfBright(image->data(), m.pixels());
            },
            [=, &m, &s] {
                for (const auto* image : {&m.previousGrey, &m.currentGrey}) {
                    const GreyPart part = GreyPart::whole(image->data(), s.rows, s.cols);
                    *sum += meanGrey(part) + meanOfBright(part);
                }
            },
            {}};
}

/// Smoothing of a grey frame and its difference from the last one, which is smoothed already.
Versions motion(const Material& m) {
    struct State {
        std::vector<std::uint8_t> grey;
        std::vector<std::uint8_t> lastSeen;
        std::vector<std::uint8_t> padded[2];
        MotionReference motion;
        std::int64_t sum = 0;

        void smooth(std::vector<std::uint8_t>& image, const ImageDesc& s) {
            reference::smoothGrey(silent(), image.data(), s.rows, s.cols, padded[0].data(), padded[1].data());
        }
    };
    auto state = std::make_shared<State>();
    const ImageDesc& s = m.size;
    for (auto& padded : state->padded) padded.resize((std::int64_t{s.rows} + 4) * (s.cols + 4));
    state->lastSeen = m.previousGrey;
    state->smooth(state->lastSeen, s);
    state->motion.measure(m.previousGrey.data(), m.previousGrey.data(), s.rows, s.cols, nullptr);
    state->motion.accept();
    return {[=, &m, &s] {
                state->grey = m.currentGrey;
                state->smooth(state->grey, s);
                state->sum +=
                    reference::meanAbsoluteDifference(state->lastSeen.data(), state->grey.data(), m.pixels());
            },
            [=, &m, &s] {
                state->sum += state->motion.measure(nullptr, m.currentGrey.data(), s.rows, s.cols, nullptr);
            },
            {}};
}

/// Both masks' distances.
Versions chamfer(const Material& m) {
    auto maskA = room<float>(m.pixels());
    auto maskB = room<float>(m.pixels());
    auto map = std::make_shared<DistanceMap>();
    const ImageDesc& s = m.size;
    return {[=, &s] {
                reference::chamferDistance(maskA->data(), s.rows, s.cols);
                reference::chamferDistance(maskB->data(), s.rows, s.cols);
            },
            [=, &s] {
                map->transform(maskA->data(), s.rows, s.cols, nullptr);
                map->transform(maskB->data(), s.rows, s.cols, nullptr);
            },
            [=, &m, &s] {
                reference::occupancyMask(silent(), m.cut.data(), s.rows, s.cols, s.channels, maskA->data());
                reference::occupancyMask(silent(), m.current.data(), s.rows, s.cols, s.channels,
                                         maskB->data());
                clearMaskEdge(silent(), maskB->data(), s.rows, s.cols);
            }};
}

/// A canvas that is twice as long as the frame on each side, the frame's rectangle in its middle.
struct Canvas {
    cv::Mat picture;
    Region region;

    explicit Canvas(const ImageDesc& size)
        : picture(2 * size.rows, 2 * size.cols, CV_8UC(size.channels), cv::Scalar::all(9)),
          region{size.rows / 2, size.rows / 2 + size.rows, size.cols / 2, size.cols / 2 + size.cols} {}

    void cut(const ImageDesc& size, std::uint8_t* patch) const {
        ImageDesc desc{};
        cropImageRegion(silent(), picture.data, region, picture.rows, picture.cols, size.channels, &desc,
                        patch);
    }
    void paste(const ImageDesc& size, const std::uint8_t* patch) {
        pasteImageRegion(silent(), patch, size.cols, region, picture.rows, picture.cols, size.channels,
                         picture.data);
    }
};

/// The whole way of an accepted frame onto the canvas: cut, masks, distances, weights, fusion, paste. The window is made
/// anew before every run.
Versions blend(const Material& m) {
    struct State {
        Canvas canvas;
        std::vector<std::uint8_t> patch;
        std::vector<std::uint8_t> blended;
        std::vector<std::uint8_t> weights;
        std::vector<float> maskA;
        std::vector<float> maskB;
        Buffer<std::uint8_t> blendedGrey;
        SeamScratch seam;
        Arena<Buffer<float>> arena;

        explicit State(const ImageDesc& size) : canvas(size) {}
    };
    const ImageDesc& s = m.size;
    auto state = std::make_shared<State>(s);
    for (auto* image : {&state->patch, &state->blended}) image->resize(s.bytes());
    for (auto* mask : {&state->maskA, &state->maskB}) mask->resize(m.pixels());
    state->weights.resize(m.pixels());
    state->blendedGrey.ensure(m.pixels() + s.cols);
    return {[=, &m, &s] {
                state->canvas.cut(s, state->patch.data());
                reference::weightMask(silent(), state->patch.data(), m.current.data(), s.rows, s.cols,
                                      s.channels, state->maskA.data(), state->maskB.data(),
                                      state->weights.data());
                state->blended = m.current;
                reference::fuseImages(state->patch.data(), state->weights.data(), m.pixels(), s.channels,
                                      state->blended.data());
                state->canvas.paste(s, state->blended.data());
            },
            [=, &m, &s] {
                cv::Mat& picture = state->canvas.picture;
                const Region& region = state->canvas.region;
                const SeamFrame frame(m.current.data(), m.currentGrey.data(), s);
                state->seam.ensure(s, frame.isFull, state->arena);
                const std::vector<ColumnSpan> anywhere(static_cast<std::size_t>(s.rows), {0, s.cols});
                const CanvasWindow window{picture.ptr(region.rowStart, region.colStart),
                                          static_cast<std::int64_t>(picture.step[0]), anywhere.data(), 0};
                blendSeam(window, frame, s, state->seam, state->blendedGrey.data(), nullptr);
            },
            [=, &m, &s] { state->canvas.paste(s, m.cut.data()); }};
}

/// A new canvas with the frame at its centre.
Versions newCanvas(const Material& m) {
    auto mosaic = std::make_shared<Mosaic>();
    auto plainCanvas = std::make_shared<cv::Mat>();
    const ImageDesc& s = m.size;
    return {[=, &m, &s] {
                *plainCanvas = cv::Mat::zeros(6000, 6000, CV_8UC(s.channels));
                const Region region{3000 - s.rows / 2, 3000 - s.rows / 2 + s.rows, 3000 - s.cols / 2,
                                    3000 - s.cols / 2 + s.cols};
                pasteImageRegion(silent(), m.current.data(), s.cols, region, 6000, 6000, s.channels,
                                 plainCanvas->data);
            },
            [=, &m, &s] { startMosaic(silent(), *mosaic, m.current.data(), s); },
            [=] {
                plainCanvas->release();
                mosaic->canvas.release();
            }};
}

}  // namespace

std::vector<Stage> acceptanceStages() {
    return {{"brightness", {1}, brightness}, {"motion", {1}, motion}};
}

std::vector<Stage> composeStages() {
    return {{"chamfer", {1}, chamfer}, {"blend", {1, 3}, blend}, {"new-canvas", {1, 3}, newCanvas}};
}

}  // namespace brantel::bench
