// From a frame to its offset.
#include <memory>

#include "compose/grey.h"
#include "reference/consensus.h"
#include "reference/descriptors.h"
#include "reference/features.h"
#include "reference/image_ops.h"
#include "reference/matching.h"
#include "registration/consensus.h"
#include "registration/descriptors.h"
#include "registration/detection.h"
#include "registration/matching.h"
#include "stages/stage.h"

namespace brantel::bench {

namespace {

template <class T>
std::shared_ptr<std::vector<T>> room(std::int64_t count) {
    return std::make_shared<std::vector<T>>(static_cast<std::size_t>(count));
}

Versions grey(const Material& m) {
    auto out = std::make_shared<Buffer<std::uint8_t>>();
    const ImageDesc& s = m.size;
    out->ensure(m.pixels() + s.cols);
    return {[=, &m, &s] { reference::rgb2gray(silent(), m.current.data(), s.rows, s.cols, out->data()); },
            [=, &m, &s] { makeGrey(m.current.data(), s, *out, nullptr); },
            {}};
}

/// Reduction, gradients, smoothing, response, suppression and thinning: row by row in the library.
Versions corners(const Material& m) {
    auto stage = std::make_shared<reference::FeatureStage>(silent(), m.size, CornerTuning{});
    stage->run(m.currentGrey.data());
    auto images = std::make_shared<HarrisImages>();
    auto found = std::make_shared<std::vector<CornerPoint>>();
    return {[=] { stage->findCorners(); },
            [=, &m] {
                found->clear();
                findHarrisCornerCoordianteFun(silent(), m.currentGrey.data(), m.size, CornerTuning{}, *images,
                                              *found, nullptr);
            },
            {}};
}

Versions descriptors(const Material& m) {
    auto out = room<std::uint16_t>((m.currentFeatures.corners.size() + 1) * descriptorLength);
    auto scratch = room<std::uint16_t>(descriptorLength);
    auto points = std::make_shared<std::vector<CornerPoint>>();
    const std::uint8_t* in = m.currentGrey.data();
    const ImageDesc& s = m.size;
    return {[=, &s] {
                reference::buildCornerDescriptors(silent(), in, s.rows, s.cols, descriptorLength,
                                                  descriptorWindow, *points, scratch->data(), out->data());
            },
            [=, &s] {
                buildCornerDescriptors(silent(), in, s.rows, s.cols, descriptorLength, descriptorWindow,
                                       *points, scratch->data(), out->data(), nullptr);
            },
            [=, &m] { *points = m.currentFeatures.corners; }};
}

/// Everything that is done for a frame, on one thread.
Versions features(const Material& m) {
    struct Side {
        Buffer<std::uint8_t> grey;
        HarrisImages images;
        FrameFeatures features;
        std::vector<std::uint16_t> scratch;
    };
    auto stage = std::make_shared<reference::FeatureStage>(silent(), m.size, CornerTuning{});
    auto side = std::make_shared<Side>();
    const ImageDesc& s = m.size;
    return {[=, &m] { stage->run(m.current.data()); },
            [=, &m, &s] {
                side->features.corners.clear();
                makeGrey(m.current.data(), s, side->grey, nullptr);
                findHarrisCornerCoordianteFun(silent(), side->grey.data(), {0, 1, s.rows, s.cols},
                                              CornerTuning{}, side->images, side->features.corners, nullptr);
                describeCorners(silent(), side->features, side->grey.data(), s.rows, s.cols, side->scratch,
                                nullptr);
            },
            {}};
}

/// Without help of the workers.
Versions matching(const Material& m) {
    const auto references = static_cast<std::int32_t>(m.previousFeatures.corners.size());
    const auto queries = static_cast<std::int32_t>(m.currentFeatures.corners.size());
    auto distances = room<float>(std::int64_t{references} * 3);
    auto matches = std::make_shared<std::vector<Match>>();
    const std::uint16_t* reference = m.previousFeatures.descriptors.data();
    const std::uint16_t* query = m.currentFeatures.descriptors.data();
    return {[=] {
                reference::calacDistanceIndexFun(silent(), reference, query, distances->data(), matchRatio,
                                                 references, descriptorLength, queries, descriptorLength,
                                                 *matches);
            },
            [=] {
                calacDistanceIndexFun(silent(), reference, query, distances->data(), matchRatio, references,
                                      descriptorLength, queries, descriptorLength, *matches, nullptr);
            },
            [=] { matches->clear(); }};
}

/// Every hypothesis against every pair; as many pairs as there are corners.
Versions consensus(const Material& m) {
    struct State {
        std::vector<CornerPoint> previous;
        std::vector<CornerPoint> current;
        std::vector<CornerPoint> kept;
        std::vector<CornerPoint> keptToo;
        PairCoordinates coordinates;
        float dx = 0;
        float dy = 0;
    };
    auto state = std::make_shared<State>();
    const std::size_t pairs = std::min(m.previousFeatures.corners.size(), m.currentFeatures.corners.size());
    return {[=] {
                reference::ransacMatchSPointArrayFun(silent(), state->previous, state->current, state->kept,
                                                     state->keptToo, &state->dx, &state->dy);
            },
            [=] {
                ransacMatchSPointArrayFun(silent(), state->previous, state->current, state->kept,
                                          state->keptToo, &state->dx, &state->dy, state->coordinates);
            },
            [=, &m] {
                const auto& previous = m.previousFeatures.corners;
                const auto& current = m.currentFeatures.corners;
                state->previous.assign(previous.begin(), previous.begin() + pairs);
                state->current.assign(current.begin(), current.begin() + pairs);
                state->kept.clear();
                state->keptToo.clear();
            }};
}

}  // namespace

std::vector<Stage> featureStages() {
    return {{"grey", {3}, grey},
            {"corners", {1}, corners},
            {"descriptors", {1}, descriptors},
            {"features", {1, 3}, features}};
}

std::vector<Stage> estimationStages() {
    return {{"matching", {1}, matching}, {"consensus", {1}, consensus}};
}

}  // namespace brantel::bench
