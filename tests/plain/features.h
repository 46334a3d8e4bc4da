// Corners and descriptors of one frame by the plain routines, one after the other.
#pragma once

#include <cstdint>
#include <vector>

#include "common/tuning.h"
#include "plain/consensus.h"
#include "plain/stage_hook.h"

namespace brantel::plain {

/// Everything that is kept from frame to frame for one of the two frames of a registration.
class FeatureStage {
  public:
    FeatureStage(std::int32_t rows, std::int32_t cols, std::int32_t channels, const CornerTuning& tuning);

    /// Describes a packed frame; features() is replaced.
    void run(const std::uint8_t* frame, const StageHook& hook);
    /// Only finds the corners again, in the grey image of the last run.
    void findCorners(const StageHook& hook);
    const FrameFeatures& features() const { return features_; }

  private:
    void makeGrey(const std::uint8_t* frame);

    std::int32_t rows_;
    std::int32_t cols_;
    std::int32_t channels_;
    CornerTuning tuning_;
    FrameFeatures features_;
    std::vector<std::uint8_t> grey_;     // with a zeroed row behind it
    std::vector<std::uint8_t> working_;  // grey at the size in which corners are found
    std::vector<float> xx_;
    std::vector<float> yy_;
    std::vector<float> xy_;
    std::vector<float> paddedA_;
    std::vector<float> paddedB_;
};

}  // namespace brantel::plain
