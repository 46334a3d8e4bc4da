// What the stages are measured on: two overlapping frames of a generated picture and all that is made of
// them.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"
#include "compose/mosaic.h"
#include "plain/features.h"

namespace brantel::bench {

struct Material {
    FrameSize size{};
    std::vector<std::uint8_t> previous;      // packed frames
    std::vector<std::uint8_t> current;       // shifted by offset against previous
    std::vector<std::uint8_t> previousGrey;  // with a zeroed row behind each
    std::vector<std::uint8_t> currentGrey;
    plain::FrameFeatures previousFeatures;
    plain::FrameFeatures currentFeatures;
    Offset offset{};
    std::vector<std::uint8_t> cut;  // the canvas where current belongs: previous fills its part of it
    std::vector<float> cutMask;
    std::vector<float> frameMask;
    std::vector<std::uint8_t> weights;

    std::int64_t pixels() const { return size.pixels(); }
    ImageDesc desc(std::int32_t channels) const { return {0, channels, size.rows, size.cols}; }
    ImageDesc desc() const { return desc(size.channels); }
};

/// Made once per size.
const Material& materialOf(const FrameSize& size);

}  // namespace brantel::bench
