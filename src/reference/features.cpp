#include "reference/features.h"

#include <algorithm>

#include "compose/reduction.h"
#include "reference/descriptors.h"
#include "reference/filters.h"
#include "reference/harris.h"
#include "reference/image_ops.h"
#include "reference/thinning.h"

namespace brantel::reference {

FeatureStage::FeatureStage(const Log& log, const ImageDesc& frame, const CornerTuning& tuning)
    : log_(log),
      frame_(frame),
      working_{0, 1, frame.rows / tuning.workingScale, frame.cols / tuning.workingScale},
      tuning_(tuning) {
    const auto pixels = static_cast<std::size_t>(working_.pixels());
    grey_.resize(static_cast<std::size_t>(frame.pixels() + frame.cols));
    reduced_.resize(pixels);
    for (auto& product : products_) product.resize(pixels);
    for (auto* padded : {&paddedA_, &paddedB_})
        padded->resize((static_cast<std::size_t>(working_.rows) + 4) *
                       (static_cast<std::size_t>(working_.cols) + 4));
}

void FeatureStage::findCorners(const StageHook& hook) {
    features_.corners.clear();
    const std::int32_t rows = working_.rows;
    const std::int32_t cols = working_.cols;
    float* xx = products_[0].data();
    float* yy = products_[1].data();
    float* xy = products_[2].data();
    timed(hook, "reduce", [&] {
        return downscaleImage(log_, grey_.data(), frame_.rows, frame_.cols, tuning_.workingScale, 1,
                              reduced_.data());
    });
    timed(hook, "gradients", [&] {
        for (auto& product : products_) std::fill(product.begin(), product.end(), 0.0F);
        findGradSquareCrossTerms(log_, reduced_.data(), rows, cols, xx, yy, xy);
    });
    timed(hook, "smoothing", [&] {
        for (auto& product : products_)
            smoothProduct(log_, product.data(), rows, cols, paddedA_.data(), paddedB_.data());
    });
    float* response = paddedB_.data();
    float sum = 0;
    float mean = 0;
    timed(hook, "response", [&] {
        std::fill(response, response + working_.pixels(), 0.0F);
        calcResponseValue(log_, xx, yy, xy, harrisK, rows, cols, response, &mean, &sum);
    });
    selectCorners(response, mean, hook);
}

void FeatureStage::selectCorners(const float* response, float mean, const StageHook& hook) {
    std::vector<float> values;
    std::vector<CornerPoint> points;
    timed(hook, "suppression", [&] {
        return responseValueMaxSuppression(log_, response, mean, working_.rows, working_.cols, values,
                                           points);
    });
    timed(hook, "thinning", [&] {
        std::int32_t count = 0;
        goToGetRidOfSomeSPoints(log_, values, points, tuning_.budget, tuning_.cap, tuning_.reductionFactor,
                                tuning_.densityLevel, &count);
        selectSpreadCorners(log_, values, points, count, tuning_.workingScale, spreadFactor,
                            features_.corners);
    });
    if (features_.corners.empty()) log_.streamLine("HarrissCornerSPoint size is 0");
}

void FeatureStage::run(const std::uint8_t* frame, const StageHook& hook) {
    timed(hook, "grey", [&] {
        if (frame_.channels == 3) {
            rgb2gray(log_, frame, frame_.rows, frame_.cols, grey_.data());
        } else {
            std::copy_n(frame, frame_.pixels(), grey_.data());
        }
    });
    findCorners(hook);
    timed(hook, "descriptors", [&] {
        // one spare descriptor, so that the pointer is never null
        features_.descriptors.ensure((static_cast<std::int64_t>(features_.corners.size()) + 1) *
                                     descriptorLength);
        std::vector<std::uint16_t> scratch(descriptorLength);
        std::vector<CornerPoint> points = features_.corners;
        buildCornerDescriptors(log_, grey_.data(), frame_.rows, frame_.cols, descriptorLength,
                               descriptorWindow, points, scratch.data(), features_.descriptors.data());
    });
}

}  // namespace brantel::reference
