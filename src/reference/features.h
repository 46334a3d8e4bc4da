// Corners and descriptors of one frame, one whole image after the other.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "common/tuning.h"
#include "common/types.h"
#include "reference/stage_hook.h"
#include "registration/features.h"

namespace brantel::reference {

/// Everything that is kept from frame to frame for one of the two frames of a registration.
class FeatureStage {
  public:
    FeatureStage(const Log& log, const ImageDesc& frame, const CornerTuning& tuning);

    /// Describes a packed frame; features() is replaced.
    void run(const std::uint8_t* frame, const StageHook& hook = nullptr);
    /// Only finds the corners again, in the grey image of the last run.
    void findCorners(const StageHook& hook = nullptr);
    const FrameFeatures& features() const { return features_; }

  private:
    void selectCorners(const float* response, float mean, const StageHook& hook);

    const Log& log_;
    ImageDesc frame_;
    ImageDesc working_;  // the size at which corners are found
    CornerTuning tuning_;
    FrameFeatures features_;
    std::vector<std::uint8_t> grey_;  // with a zeroed row behind it
    std::vector<std::uint8_t> reduced_;
    std::vector<float> products_[3];  // xx, yy, xy
    std::vector<float> paddedA_;
    std::vector<float> paddedB_;
};

}  // namespace brantel::reference
