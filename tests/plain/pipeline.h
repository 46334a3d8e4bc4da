// A whole mosaic by the plain routines, in sequence on one thread: what the library computes, byte for byte.
// The reference of whole streams and the yardstick of the measurements.
#pragma once

#include <brantel/brantel.h>

#include <cstdint>
#include <vector>

#include "common/stitch_call.h"
#include "plain/features.h"

namespace brantel::plain {

class Pipeline {
  public:
    Pipeline(const FrameSetup& setup, const StitchModes& modes, StageHook hook = nullptr);

    /// Starts a mosaic with first (whose zero samples become 1) and stitches current to it. False where the
    /// library answers -1.
    bool start(std::uint8_t* first, const std::uint8_t* current);
    bool next(const std::uint8_t* current);

    const cv::Mat& canvas() const { return canvas_; }
    const StitchFlags& record() const { return record_; }
    CornerPoint minimum() const { return minimum_; }
    CornerPoint maximum() const { return maximum_; }
    void setHook(StageHook hook) { hook_ = std::move(hook); }

  private:
    bool stitch();
    bool findOffset();
    void judgeByMotion();
    void measureBrightness();
    bool shiftIsMergeable() const;
    bool merge();
    void growCanvas(CornerPoint* position);
    std::int64_t pixels() const { return std::int64_t{setup_.rows} * setup_.cols; }
    std::int64_t bytes() const { return pixels() * setup_.channels; }
    void toGrey(const std::uint8_t* image, const ImageDesc& desc, std::vector<std::uint8_t>& grey) const;

    FrameSetup setup_;
    StitchModes modes_;
    StageHook hook_;
    FeatureStage previousStage_;
    FeatureStage currentStage_;
    cv::Mat canvas_;
    CornerPoint minimum_{};
    CornerPoint maximum_{};
    StitchFlags record_{};

    std::vector<std::uint8_t> store_;     // template of the next call
    std::vector<std::uint8_t> previous_;  // the previous frame of this call
    std::vector<std::uint8_t> current_;
    std::vector<std::uint8_t> lastSeen_;  // reference of the motion test
    std::vector<std::uint8_t> greyA_;
    std::vector<std::uint8_t> greyB_;
    std::vector<std::uint8_t> cutA_;
    std::vector<std::uint8_t> cutB_;
    std::vector<float> maskA_;
    std::vector<float> maskB_;
    std::vector<std::uint8_t> weights_;
};

}  // namespace brantel::plain
