// What is known about a frame that takes part in a registration.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/types.h"

namespace brantel {

/// The corners of a frame, in pixels of the full-size frame, and their descriptors.
struct FrameFeatures {
    std::vector<CornerPoint> corners;
    std::vector<CornerPoint> consumed;  // the copy that building descriptors uses up
    Buffer<std::uint16_t>
        descriptors;  // descriptorLength values per corner; never null once a frame was described
};

/// Which of the two frames of a registration.
enum class FrameRole { previous, current };

}  // namespace brantel
