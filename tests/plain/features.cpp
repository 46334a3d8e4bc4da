#include "plain/features.h"

#include <algorithm>
#include <cstring>

#include "plain/descriptors.h"
#include "plain/downscale.h"
#include "plain/filters.h"
#include "plain/harris.h"
#include "plain/image_ops.h"
#include "plain/thinning.h"

namespace brantel::plain {

FeatureStage::FeatureStage(std::int32_t rows, std::int32_t cols, std::int32_t channels,
                           const CornerTuning& tuning)
    : rows_(rows), cols_(cols), channels_(channels), tuning_(tuning) {
    const std::size_t workingRows = rows / tuning.workingScale;
    const std::size_t workingCols = cols / tuning.workingScale;
    grey_.resize((static_cast<std::size_t>(rows) + 1) * cols);
    working_.resize(workingRows * workingCols);
    for (auto* product : {&xx_, &yy_, &xy_}) product->resize(working_.size());
    for (auto* padded : {&paddedA_, &paddedB_}) padded->resize((workingRows + 4) * (workingCols + 4));
}

void FeatureStage::makeGrey(const std::uint8_t* frame) {
    if (channels_ == 3) {
        rgb2gray(frame, rows_, cols_, grey_.data());
    } else {
        std::memcpy(grey_.data(), frame, static_cast<std::size_t>(rows_) * cols_);
    }
}

void FeatureStage::findCorners(const StageHook& hook) {
    features_.corners.clear();
    const std::int32_t rows = rows_ / tuning_.workingScale;
    const std::int32_t cols = cols_ / tuning_.workingScale;
    timed(hook, "reduce", [&] {
        return downscaleImage(grey_.data(), rows_, cols_, tuning_.workingScale, 1, working_.data());
    });
    timed(hook, "gradients", [&] {
        for (auto* product : {&xx_, &yy_, &xy_}) std::fill(product->begin(), product->end(), 0.0F);
        findGradSquareCrossTerms(working_.data(), rows, cols, xx_.data(), yy_.data(), xy_.data());
    });
    timed(hook, "smoothing", [&] {
        for (auto* product : {&xx_, &yy_, &xy_})
            smoothProduct(product->data(), rows, cols, paddedA_.data(), paddedB_.data());
    });
    float* response = paddedB_.data();
    float sum = 0;
    float mean = 0;
    timed(hook, "response", [&] {
        std::fill(response, response + working_.size(), 0.0F);
        calcResponseValue(xx_.data(), yy_.data(), xy_.data(), harrisK, rows, cols, response, &mean, &sum);
    });
    std::vector<float> values;
    std::vector<CornerPoint> points;
    timed(hook, "suppression",
          [&] { return responseValueMaxSuppression(response, mean, rows, cols, values, points); });
    timed(hook, "thinning", [&] {
        std::int32_t count = 0;
        goToGetRidOfSomeSPoints(values, points, tuning_.budget, tuning_.cap, tuning_.reductionFactor,
                                tuning_.densityLevel, &count);
        selectSpreadCorners(values, points, count, tuning_.workingScale, spreadFactor, features_.corners);
    });
}

void FeatureStage::run(const std::uint8_t* frame, const StageHook& hook) {
    timed(hook, "grey", [&] { makeGrey(frame); });
    findCorners(hook);
    timed(hook, "descriptors", [&] {
        // one spare descriptor, so that the pointer is never null
        features_.descriptors.resize((features_.corners.size() + 1) * descriptorLength);
        std::vector<std::uint16_t> scratch(descriptorLength);
        std::vector<CornerPoint> points = features_.corners;
        buildCornerDescriptors(grey_.data(), rows_, cols_, descriptorLength, descriptorWindow, points,
                               scratch.data(), features_.descriptors.data());
    });
}

}  // namespace brantel::plain
