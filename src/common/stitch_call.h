// The eleven arguments of one stitch call, as they travel from the exports to a backend.
#pragma once

#include <brantel/brantel.h>

#include "common/types.h"

namespace brantel {

struct StitchCall {
    std::uint8_t* firstFrame;
    std::uint8_t* currentFrame;
    std::int32_t continueFlag;
    std::int32_t scale;
    ExpectedShift expected;
    MosaicCorner* minCorner;
    MosaicCorner* maxCorner;
    cv::Mat* mosaic;
    StitchFlags* flags;
};

/// initJoint's first six arguments.
struct FrameSetup {
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t channels;
    std::int32_t densityLevel;
    std::int32_t limitA;
    std::int32_t limitB;
};

/// initJoint's two mode switches, read by every backend's offset stage.
struct StitchModes {
    std::int32_t GStitchMainMode = 0;
    std::int32_t GstaticMainDynamicFlag = 0;
};
StitchModes& stitchModes();

}  // namespace brantel
