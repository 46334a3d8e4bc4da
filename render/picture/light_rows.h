// The light's factors beside the samples of a picture.
#pragma once

#include <cstdint>
#include <vector>

#include "light/flat_field.h"
#include "picture/layout.h"

namespace brantel::render {

class LightRows {
  public:
    /// Throws std::invalid_argument when the light is not of the frames' size or channels.
    LightRows(const FlatField& light, const Layout& layout);

    /// The factor of each sample, red before green before blue; nullptr for even light.
    /// @param room  for the factors where they do not lie ready
    const float* factors(std::int32_t row, std::int32_t column, std::int32_t pixels,
                         std::vector<float>& room) const;

  private:
    const float* between(std::int32_t row, std::int32_t column, std::int32_t pixels,
                         std::vector<float>& room) const;

    const FlatField& light_;
    const std::int32_t channels_;  ///< of the frames
};

}  // namespace brantel::render
