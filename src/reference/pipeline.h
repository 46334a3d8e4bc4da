// A whole mosaic by the reference's steps, in sequence on one thread: what the library computes, byte for byte, and the
// lines that it writes. The measure of whole streams, for results and for time.
#pragma once

#include <brantel/brantel.h>

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "engine/stitch_call.h"
#include "reference/features.h"

namespace brantel::reference {

class Pipeline {
  public:
    Pipeline(const Log& log, const FrameSetup& setup, const StitchModes& modes, StageHook hook = nullptr);

    /// Starts a mosaic with first (whose zero samples become 1) and stitches current to it. False where the library
    /// answers -1.
    bool start(std::uint8_t* first, const std::uint8_t* current);
    bool next(const std::uint8_t* current);

    const cv::Mat& canvas() const { return canvas_; }
    const StitchFlags& record() const { return record_; }
    CornerPoint minimum() const { return minimum_; }
    CornerPoint maximum() const { return maximum_; }

  private:
    bool stitch();
    bool findOffset();
    void judgeByMotion();
    void measureBrightness();
    bool shiftIsMergeable() const;
    bool merge();
    void blend();
    void growCanvas(CornerPoint* position);
    void toGrey(const std::uint8_t* image, const ImageDesc& desc, std::vector<std::uint8_t>& grey) const;

    const Log& log_;
    const ImageDesc frame_;
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

}  // namespace brantel::reference
