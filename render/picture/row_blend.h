// The arithmetic of a picture's pixels, along a row.
#pragma once

#include <cstdint>
#include <vector>

#include "picture/bands.h"

namespace brantel::render {

/// A piece of a frame's row, from its first sample on. A pixel's samples follow each other.
struct RowPart {
    const std::uint8_t* samples;
    const float* factors;  ///< of the light, one for each sample; nullptr: 1
    float gain;
    const float*
        columns;  ///< for each sample, how far its column is from the nearer edge, the edge's own being 1
    float row;    ///< the same of the row
};

/// All steps are single precision, one after the other as they are written. A sample's value is (sample * factor) * gain.
/// Where several frames lie, it is the sum of weight * value in the order of taking, divided by the sum of the weights;
/// without blending the value of the first one with the greatest weight. A weight is the smaller of the two distances.
/// Halves are rounded up.
class RowBlend {
  public:
    /// @param depth    of the samples: CV_8U or CV_16U
    /// @param longest  samples at a time
    RowBlend(Blend blend, std::int32_t depth, std::int64_t longest);

    /// @param parts  in the order of taking, at least one
    void blend(const std::vector<RowPart>& parts, std::int64_t samples, std::uint8_t* to);

  private:
    template <typename Sample>
    void blendSamples(const std::vector<RowPart>& parts, std::int64_t samples, Sample* to);

    const Blend blend_;
    const std::int32_t depth_;
    std::vector<float> values_;
    std::vector<float> weights_;
};

}  // namespace brantel::render
