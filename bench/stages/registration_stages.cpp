// From a frame to its offset.
#include <memory>

#include "common/worker_pair.h"
#include "cpu/detection.h"
#include "cpu/feature_job.h"
#include "cpu/image_ops.h"
#include "plain/descriptors.h"
#include "plain/downscale.h"
#include "plain/image_ops.h"
#include "plain/matching.h"
#include "registration/descriptors.h"
#include "registration/downscale.h"
#include "registration/matching.h"
#include "stages/stage.h"

namespace brantel::bench {

namespace {

template <class T>
std::shared_ptr<std::vector<T>> room(std::int64_t count) {
    return std::make_shared<std::vector<T>>(static_cast<std::size_t>(count));
}

Twins grey(const Material& m) {
    auto out = room<std::uint8_t>(m.pixels());
    return {[=, &m] { plain::rgb2gray(m.current.data(), m.size.rows, m.size.cols, out->data()); },
            [=, &m] { rgb2gray(m.current.data(), m.size.rows, m.size.cols, out->data()); },
            {}};
}

Twins reduce(const Material& m) {
    auto out = room<std::uint8_t>(m.pixels());
    const std::uint8_t* in = m.currentGrey.data();
    return {[=, &m] { plain::downscaleImage(in, m.size.rows, m.size.cols, 2, 1, out->data()); },
            [=, &m] { downscaleImage(in, m.size.rows, m.size.cols, 2, 1, out->data()); },
            {}};
}

/// Reduction, gradients, smoothing, response, suppression and thinning: one road in the library.
Twins corners(const Material& m) {
    auto plainStage = std::make_shared<plain::FeatureStage>(m.size.rows, m.size.cols, 1, CornerTuning{});
    plainStage->run(m.currentGrey.data(), nullptr);
    auto images = std::make_shared<HarrisImages>();
    auto found = std::make_shared<std::vector<CornerPoint>>();
    return {[=] { plainStage->findCorners(nullptr); },
            [=, &m] {
                found->clear();
                findHarrisCornerCoordianteFun(m.currentGrey.data(), m.desc(1), CornerTuning{}, *images,
                                              *found);
            },
            {}};
}

Twins descriptors(const Material& m) {
    auto out = room<std::uint16_t>((m.currentFeatures.corners.size() + 1) * descriptorLength);
    auto scratch = room<std::uint16_t>(descriptorLength);
    auto points = std::make_shared<std::vector<CornerPoint>>();
    const std::uint8_t* in = m.currentGrey.data();
    return {[=, &m] {
                plain::buildCornerDescriptors(in, m.size.rows, m.size.cols, descriptorLength,
                                              descriptorWindow, *points, scratch->data(), out->data());
            },
            [=, &m] {
                buildCornerDescriptors(in, m.size.rows, m.size.cols, descriptorLength, descriptorWindow,
                                       *points, scratch->data(), out->data());
            },
            [=, &m] { *points = m.currentFeatures.corners; }};
}

/// Everything that is done for a frame, on one thread.
Twins featureJob(const Material& m) {
    auto plainStage =
        std::make_shared<plain::FeatureStage>(m.size.rows, m.size.cols, m.size.channels, CornerTuning{});
    auto side = std::make_shared<FeatureSide>(FrameRole::current);
    return {[=, &m] { plainStage->run(m.current.data(), nullptr); },
            [=, &m] {
                side->features.corners.clear();
                makeGrey(m.current.data(), m.desc(), side->grey, nullptr);
                describeGrey(*side, side->grey.data(), m.size.rows, m.size.cols, {}, CornerTuning{});
            },
            {}};
}

/// Without help of the workers.
Twins matching(const Material& m) {
    const auto references = static_cast<std::int32_t>(m.previousFeatures.corners.size());
    const auto queries = static_cast<std::int32_t>(m.currentFeatures.corners.size());
    auto distances = room<float>(std::int64_t{references} * 3);
    auto matches = std::make_shared<std::vector<Match>>();
    const std::uint16_t* reference = m.previousFeatures.descriptors.data();
    const std::uint16_t* query = m.currentFeatures.descriptors.data();
    return {[=] {
                plain::calacDistanceIndexFun(reference, query, distances->data(), matchRatio, references,
                                             descriptorLength, queries, descriptorLength, *matches);
            },
            [=] {
                calacDistanceIndexFun(reference, query, distances->data(), matchRatio, references,
                                      descriptorLength, queries, descriptorLength, *matches);
            },
            [=] { matches->clear(); }};
}

/// Every hypothesis against every pair; as many pairs as there are corners.
Twins consensus(const Material& m) {
    auto previous = std::make_shared<std::vector<CornerPoint>>();
    auto current = std::make_shared<std::vector<CornerPoint>>();
    auto kept = std::make_shared<std::vector<CornerPoint>>();
    auto keptToo = std::make_shared<std::vector<CornerPoint>>();
    const std::size_t pairs = std::min(m.previousFeatures.corners.size(), m.currentFeatures.corners.size());
    return {[=] {
                float dx = 0;
                float dy = 0;
                plain::ransacMatchSPointArrayFun(*previous, *current, *kept, *keptToo, &dx, &dy);
            },
            [=] {
                float dx = 0;
                float dy = 0;
                brantel::ransacMatchSPointArrayFun(*previous, *current, *kept, *keptToo, &dx, &dy);
            },
            [=, &m] {
                previous->assign(m.previousFeatures.corners.begin(),
                                 m.previousFeatures.corners.begin() + pairs);
                current->assign(m.currentFeatures.corners.begin(), m.currentFeatures.corners.begin() + pairs);
                kept->clear();
                keptToo->clear();
            }};
}

}  // namespace

std::vector<Stage> featureStages() {
    return {{"grey", {3}, grey},
            {"reduce", {1}, reduce},
            {"corners", {1}, corners},
            {"descriptors", {1}, descriptors},
            {"features", {1, 3}, featureJob}};
}

std::vector<Stage> estimationStages() {
    return {{"matching", {1}, matching}, {"consensus", {1}, consensus}};
}

}  // namespace brantel::bench
