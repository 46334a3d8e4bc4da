// The arguments of the three functions, as they travel to an engine.
#pragma once

#include <brantel/brantel.h>

#include "common/types.h"

namespace brantel {

/// stichingImagedJoint's eleven arguments.
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

    /// True when the call starts a new mosaic with the first frame.
    bool begins() const { return continueFlag == 0; }
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

/// initJoint's two mode switches.
struct StitchModes {
    std::int32_t GStitchMainMode = 0;
    std::int32_t GstaticMainDynamicFlag = 0;

    /// Frames are accepted by the motion test, else by the brightness test.
    bool byMotion() const { return GStitchMainMode != 0; }
    /// The tests' narrow limits hold, else the wide ones.
    bool strict() const { return GstaticMainDynamicFlag != 0; }
};

}  // namespace brantel
