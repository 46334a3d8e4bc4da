// What the stages are measured on: two overlapping frames of a generated picture and all that is made of
// them.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"
#include "registration/features.h"

namespace brantel::bench {

struct Material {
    ImageDesc size{};
    std::vector<std::uint8_t> previous;      // packed frames
    std::vector<std::uint8_t> current;       // shifted by offset against previous
    std::vector<std::uint8_t> previousGrey;  // with a zeroed row behind each
    std::vector<std::uint8_t> currentGrey;
    FrameFeatures previousFeatures;
    FrameFeatures currentFeatures;
    Offset offset{};
    std::vector<std::uint8_t> cut;  // the canvas where current belongs: previous fills its part of it

    std::int64_t pixels() const { return size.pixels(); }
};

/// Made once per size.
const Material& materialOf(const ImageDesc& size);

}  // namespace brantel::bench
