#include "plain/pipeline.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <opencv2/core.hpp>

#include "plain/image_ops.h"
#include "plain/judgement.h"
#include "plain/regions.h"
#include "plain/weights.h"

namespace brantel::plain {

namespace {

std::int32_t canvasSide(std::int32_t frameSide) {
    return frameSide > 6000 ? frameSide + 2000 : 6000;
}

}  // namespace

Pipeline::Pipeline(const FrameSetup& setup, const StitchModes& modes, StageHook hook)
    : setup_(setup),
      modes_(modes),
      hook_(std::move(hook)),
      previousStage_(setup.rows, setup.cols, setup.channels, CornerTuning::forDensity(setup.densityLevel)),
      currentStage_(setup.rows, setup.cols, setup.channels, CornerTuning::forDensity(setup.densityLevel)) {
    const std::size_t padded = (static_cast<std::size_t>(setup.rows) + 4) * (setup.cols + 4);
    for (auto* frame : {&store_, &previous_, &current_, &lastSeen_}) frame->resize(bytes());
    for (auto* grey : {&greyA_, &greyB_, &weights_}) grey->resize(pixels());
    for (auto* cut : {&cutA_, &cutB_}) cut->resize(std::max<std::size_t>(bytes(), padded));
    for (auto* mask : {&maskA_, &maskB_}) mask->resize(pixels());
}

bool Pipeline::start(std::uint8_t* first, const std::uint8_t* current) {
    current_.assign(current, current + bytes());
    std::fill(store_.begin(), store_.end(), std::uint8_t{0});
    for (std::int64_t i = 0; i < bytes(); ++i)
        if (first[i] == 0) first[i] = 1;
    previous_.assign(first, first + bytes());
    lastSeen_ = previous_;
    timed(hook_, "new canvas", [&] {
        canvas_ = cv::Mat::zeros(canvasSide(setup_.rows), canvasSide(setup_.cols), CV_8UC(setup_.channels));
        minimum_ = {canvas_.cols / 2 - setup_.cols / 2, canvas_.rows / 2 - setup_.rows / 2};
        maximum_ = {minimum_.x + setup_.cols, minimum_.y + setup_.rows};
        pasteImageRegion(first, setup_.cols, {minimum_.y, maximum_.y, minimum_.x, maximum_.x}, canvas_.rows,
                         canvas_.cols, setup_.channels, canvas_.data);
    });
    record_.frameX = minimum_.x;
    record_.frameY = minimum_.y;
    return stitch();
}

bool Pipeline::next(const std::uint8_t* current) {
    timed(hook_, "take frames", [&] {
        std::memcpy(current_.data(), current, current_.size());
        std::memcpy(previous_.data(), store_.data(), store_.size());
    });
    return stitch();
}

bool Pipeline::stitch() {
    if (!findOffset() || canvas_.empty()) return false;
    if (modes_.GStitchMainMode != 0) {
        timed(hook_, "motion", [&] { judgeByMotion(); });
    } else {
        timed(hook_, "brightness", [&] { measureBrightness(); });
        judgeBrightness(record_, modes_, setup_.rows, setup_.cols);
    }
    if (record_.stitch_flags != 1) return true;
    if (shiftIsMergeable()) return merge();
    store_ = previous_;
    return true;
}

bool Pipeline::findOffset() {
    previousStage_.run(previous_.data(), hook_);
    currentStage_.run(current_.data(), hook_);
    Offset offset{record_.offset.x, record_.offset.y};
    const bool found = estimateOffset(previousStage_.features(), currentStage_.features(), setup_.rows,
                                      setup_.cols, {&offset, &record_.matchCount}, hook_);
    if (found) {
        record_.offset.x = offset.x;
        record_.offset.y = offset.y;
    }
    return found;
}

void Pipeline::toGrey(const std::uint8_t* image, const ImageDesc& desc,
                      std::vector<std::uint8_t>& grey) const {
    if (setup_.channels > 1) {
        rgb2gray(image, desc.rows, desc.cols, grey.data());
    } else {
        std::memcpy(grey.data(), image, static_cast<std::size_t>(desc.pixels()));
    }
}

void Pipeline::judgeByMotion() {
    const ImageDesc desc{0, setup_.channels, setup_.rows, setup_.cols};
    toGrey(lastSeen_.data(), desc, greyA_);
    toGrey(current_.data(), desc, greyB_);
    smoothGrey(greyA_.data(), setup_.rows, setup_.cols, cutA_.data(), cutB_.data());
    smoothGrey(greyB_.data(), setup_.rows, setup_.cols, cutA_.data(), cutB_.data());
    const std::int64_t motion = meanAbsoluteDifference(greyA_.data(), greyB_.data(), pixels());
    record_.stitch_flags = motion < motionThreshold(modes_) ? 1 : 0;
    std::memcpy(lastSeen_.data(), current_.data(), current_.size());
}

void Pipeline::measureBrightness() {
    const ImageDesc canvas{0, setup_.channels, canvas_.rows, canvas_.cols};
    const ImageDesc frame{0, setup_.channels, setup_.rows, setup_.cols};
    ImageDesc canvasPart{};
    ImageDesc framePart{};
    cropOverlapPair(canvas_.data, current_.data(), canvas, frame, {record_.frameX, record_.frameY},
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
    const auto side = static_cast<float>(ax > ay ? setup_.cols : setup_.rows);
    return shift > side * 0.100000024F && side * 0.9F > shift && record_.matchCount > 10;
}

void Pipeline::growCanvas(CornerPoint* position) {
    const std::int32_t x = position->x + record_.offset.x;
    const std::int32_t y = position->y + record_.offset.y;
    const std::int32_t top = y < 1 ? setup_.rows : 0;
    const std::int32_t bottom = y >= 1 && y + setup_.rows > canvas_.rows - 1 ? setup_.rows : 0;
    const std::int32_t left = x < 1 ? setup_.cols : 0;
    const std::int32_t right = x >= 1 && x + setup_.cols > canvas_.cols - 1 ? setup_.cols : 0;
    if (top == 0 && bottom == 0 && left == 0 && right == 0) return;
    cv::Mat grown;
    cv::copyMakeBorder(canvas_, grown, top, bottom, left, right, cv::BORDER_CONSTANT, cv::Scalar::all(0));
    canvas_ = grown;
    for (CornerPoint* point : {position, &minimum_, &maximum_}) {
        point->x += left;
        point->y += top;
    }
}

bool Pipeline::merge() {
    CornerPoint position{record_.frameX, record_.frameY};
    timed(hook_, "growth", [&] { growCanvas(&position); });
    const CornerPoint at{position.x + record_.offset.x, position.y + record_.offset.y};
    const Region region{at.y, at.y + setup_.rows, at.x, at.x + setup_.cols};
    const std::int32_t channels = setup_.channels;
    if (at.x < 0 || at.y < 0) return false;

    ImageDesc cut{};
    if (!timed(hook_, "cut", [&] {
            return cropImageRegion(canvas_.data, region, canvas_.rows, canvas_.cols, channels, &cut,
                                   store_.data());
        }))
        return false;
    timed(hook_, "masks", [&] {
        occupancyMask(store_.data(), setup_.rows, setup_.cols, channels, maskA_.data());
        occupancyMask(current_.data(), setup_.rows, setup_.cols, channels, maskB_.data());
        clearMaskEdge(maskB_.data(), setup_.rows, setup_.cols);
    });
    timed(hook_, "chamfer", [&] {
        chamferDistance(maskA_.data(), setup_.rows, setup_.cols);
        chamferDistance(maskB_.data(), setup_.rows, setup_.cols);
    });
    timed(hook_, "weights",
          [&] { weightsFromDistances(maskA_.data(), maskB_.data(), pixels(), weights_.data()); });
    timed(hook_, "fuse",
          [&] { fuseImages(store_.data(), weights_.data(), pixels(), channels, current_.data()); });
    timed(hook_, "template", [&] { std::memcpy(store_.data(), current_.data(), current_.size()); });
    timed(hook_, "paste", [&] {
        return pasteImageRegion(store_.data(), setup_.cols, region, canvas_.rows, canvas_.cols, channels,
                                canvas_.data);
    });
    record_.frameX = at.x;
    record_.frameY = at.y;
    extendMosaicBounds(minimum_, maximum_, setup_.rows, setup_.cols, at, &minimum_, &maximum_);
    return true;
}

}  // namespace brantel::plain
