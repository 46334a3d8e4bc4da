#include "reference/pipeline.h"

#include <algorithm>
#include <cstdlib>
#include <opencv2/core.hpp>

#include "compose/acceptance.h"
#include "compose/bands.h"
#include "compose/regions.h"
#include "reference/acceptance.h"
#include "reference/consensus.h"
#include "reference/filters.h"
#include "reference/image_ops.h"
#include "reference/weights.h"

namespace brantel::reference {

namespace {

std::int32_t canvasSide(std::int32_t frameSide) {
    return frameSide > 6000 ? frameSide + 2000 : 6000;
}

}  // namespace

Pipeline::Pipeline(const Log& log, const FrameSetup& setup, const StitchModes& modes, StageHook hook)
    : log_(log),
      frame_{0, setup.channels, setup.rows, setup.cols},
      modes_(modes),
      hook_(std::move(hook)),
      previousStage_(log, frame_, CornerTuning::forDensity(setup.densityLevel)),
      currentStage_(log, frame_, CornerTuning::forDensity(setup.densityLevel)) {
    const auto bytes = static_cast<std::size_t>(frame_.bytes());
    const auto pixels = static_cast<std::size_t>(frame_.pixels());
    const std::size_t padded =
        (static_cast<std::size_t>(frame_.rows) + 4) * (static_cast<std::size_t>(frame_.cols) + 4);
    for (auto* frame : {&store_, &previous_, &current_, &lastSeen_}) frame->resize(bytes);
    for (auto* grey : {&greyA_, &greyB_, &weights_}) grey->resize(pixels);
    for (auto* cut : {&cutA_, &cutB_}) cut->resize(std::max(bytes, padded));
    for (auto* mask : {&maskA_, &maskB_}) mask->resize(pixels);
}

bool Pipeline::start(std::uint8_t* first, const std::uint8_t* current) {
    current_.assign(current, current + frame_.bytes());
    std::fill(store_.begin(), store_.end(), std::uint8_t{0});
    std::replace(first, first + frame_.bytes(), std::uint8_t{0}, std::uint8_t{1});
    previous_.assign(first, first + frame_.bytes());
    lastSeen_ = previous_;
    timed(hook_, "new canvas", [&] {
        canvas_ = cv::Mat::zeros(canvasSide(frame_.rows), canvasSide(frame_.cols), CV_8UC(frame_.channels));
        minimum_ = {canvas_.cols / 2 - frame_.cols / 2, canvas_.rows / 2 - frame_.rows / 2};
        maximum_ = {minimum_.x + frame_.cols, minimum_.y + frame_.rows};
        pasteImageRegion(log_, first, frame_.cols, {minimum_.y, maximum_.y, minimum_.x, maximum_.x},
                         canvas_.rows, canvas_.cols, frame_.channels, canvas_.data);
    });
    record_.frameX = minimum_.x;
    record_.frameY = minimum_.y;
    return stitch();
}

bool Pipeline::next(const std::uint8_t* current) {
    timed(hook_, "take frames", [&] {
        std::copy_n(current, current_.size(), current_.begin());
        std::copy(store_.begin(), store_.end(), previous_.begin());
    });
    return stitch();
}

bool Pipeline::stitch() {
    if (!findOffset() || canvas_.empty()) return false;
    if (modes_.byMotion()) {
        timed(hook_, "motion", [&] { judgeByMotion(); });
    } else {
        timed(hook_, "brightness", [&] { measureBrightness(); });
        judgeBrightness(record_, modes_.strict(), frame_.rows, frame_.cols);
    }
    if (record_.stitch_flags != 1) return true;
    if (shiftIsMergeable()) return merge();
    store_ = previous_;
    return true;
}

bool Pipeline::findOffset() {
    log_.streamLine("imageMosaicFun in");
    previousStage_.run(previous_.data(), hook_);
    currentStage_.run(current_.data(), hook_);
    Offset offset{};
    const bool found = estimateOffset(log_, previousStage_.features(), currentStage_.features(), frame_.rows,
                                      frame_.cols, {&offset, &record_.matchCount}, hook_);
    if (found) record_.offset = {offset.x, offset.y};
    return found;
}

void Pipeline::toGrey(const std::uint8_t* image, const ImageDesc& desc,
                      std::vector<std::uint8_t>& grey) const {
    if (desc.channels == 3) {
        rgb2gray(log_, image, desc.rows, desc.cols, grey.data());
    } else {
        std::copy_n(image, desc.pixels(), grey.data());
    }
}

void Pipeline::judgeByMotion() {
    toGrey(lastSeen_.data(), frame_, greyA_);
    toGrey(current_.data(), frame_, greyB_);
    for (auto* grey : {&greyA_, &greyB_})
        smoothGrey(log_, grey->data(), frame_.rows, frame_.cols, cutA_.data(), cutB_.data());
    judgeMotion(record_, modes_.strict(),
                meanAbsoluteDifference(greyA_.data(), greyB_.data(), frame_.pixels()));
    std::copy(current_.begin(), current_.end(), lastSeen_.begin());
}

void Pipeline::measureBrightness() {
    const ImageDesc canvas{0, frame_.channels, canvas_.rows, canvas_.cols};
    ImageDesc canvasPart{};
    ImageDesc framePart{};
    cropOverlapPair(log_, canvas_.data, current_.data(), canvas, frame_, {record_.frameX, record_.frameY},
                    {record_.offset.x, record_.offset.y}, &canvasPart, &framePart, cutA_.data(),
                    cutB_.data());
    toGrey(cutA_.data(), canvasPart, greyA_);
    toGrey(cutB_.data(), framePart, greyB_);
    record_.prevMean = meanGrey(greyA_.data(), canvasPart.rows, canvasPart.cols);
    record_.curMean = meanGrey(greyB_.data(), framePart.rows, framePart.cols);
    record_.prevBrightMean = meanOfBright(greyA_.data(), canvasPart.pixels());
    record_.curBrightMean = meanOfBright(greyB_.data(), framePart.pixels());
}

bool Pipeline::shiftIsMergeable() const {
    const std::int32_t ax = std::abs(record_.offset.x);
    const std::int32_t ay = std::abs(record_.offset.y);
    const auto shift = static_cast<float>(std::max(ax, ay));
    const auto side = static_cast<float>(ax > ay ? frame_.cols : frame_.rows);
    return shift > side * 0.100000024F && side * 0.9F > shift && record_.matchCount > 10;
}

void Pipeline::growCanvas(CornerPoint* position) {
    const std::int32_t x = position->x + record_.offset.x;
    const std::int32_t y = position->y + record_.offset.y;
    const std::int32_t top = y < 1 ? frame_.rows : 0;
    const std::int32_t bottom = y >= 1 && y + frame_.rows > canvas_.rows - 1 ? frame_.rows : 0;
    const std::int32_t left = x < 1 ? frame_.cols : 0;
    const std::int32_t right = x >= 1 && x + frame_.cols > canvas_.cols - 1 ? frame_.cols : 0;
    if (top == 0 && bottom == 0 && left == 0 && right == 0) return;
    cv::Mat grown;
    cv::copyMakeBorder(canvas_, grown, top, bottom, left, right, cv::BORDER_CONSTANT, cv::Scalar::all(0));
    canvas_ = grown;
    for (CornerPoint* point : {position, &minimum_, &maximum_}) {
        point->x += left;
        point->y += top;
    }
}

/// Blends the current frame over the cut that the store holds.
void Pipeline::blend() {
    timed(hook_, "masks", [&] {
        occupancyMask(log_, store_.data(), frame_.rows, frame_.cols, frame_.channels, maskA_.data());
        occupancyMask(log_, current_.data(), frame_.rows, frame_.cols, frame_.channels, maskB_.data());
        clearMaskEdge(log_, maskB_.data(), frame_.rows, frame_.cols);
    });
    timed(hook_, "chamfer", [&] {
        chamferDistance(maskA_.data(), frame_.rows, frame_.cols);
        chamferDistance(maskB_.data(), frame_.rows, frame_.cols);
    });
    timed(hook_, "weights",
          [&] { weightsFromDistances(maskA_.data(), maskB_.data(), frame_.pixels(), weights_.data()); });
    timed(hook_, "fuse", [&] {
        fuseImages(store_.data(), weights_.data(), frame_.pixels(), frame_.channels, current_.data());
    });
}

bool Pipeline::merge() {
    CornerPoint position{record_.frameX, record_.frameY};
    timed(hook_, "growth", [&] { growCanvas(&position); });
    const CornerPoint at{position.x + record_.offset.x, position.y + record_.offset.y};
    const Region region{at.y, at.y + frame_.rows, at.x, at.x + frame_.cols};
    if (at.x < 0 || at.y < 0) return false;

    ImageDesc cut{};
    if (!timed(hook_, "cut", [&] {
            return cropImageRegion(log_, canvas_.data, region, canvas_.rows, canvas_.cols, frame_.channels,
                                   &cut, store_.data());
        }))
        return false;
    blend();
    timed(hook_, "template", [&] { std::copy(current_.begin(), current_.end(), store_.begin()); });
    timed(hook_, "paste", [&] {
        return pasteImageRegion(log_, store_.data(), frame_.cols, region, canvas_.rows, canvas_.cols,
                                frame_.channels, canvas_.data);
    });
    record_.frameX = at.x;
    record_.frameY = at.y;
    extendMosaicBounds(minimum_, maximum_, frame_.rows, frame_.cols, at, &minimum_, &maximum_);
    log_.streamLine("kkkkkkkkkkkkkkkkkkkkkkk",
                    std::max(std::abs(record_.offset.x), std::abs(record_.offset.y)));
    return true;
}

}  // namespace brantel::reference
