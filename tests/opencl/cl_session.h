// A session that stitches through OpenCL: the backend's own entries instead of the exports, which never
// choose it.
#pragma once

#include "common/stitch_call.h"
#include "opencl/openclJoint.h"
#include "support/session.h"

namespace brantel::test {

inline bool initOpenCl(std::int32_t rows, std::int32_t columns, std::int32_t channels,
                       std::int32_t densityLevel, std::int32_t limitA, std::int32_t limitB,
                       std::int32_t mainMode, std::int32_t staticFlag) {
    stitchModes() = {mainMode, staticFlag};
    return initJointCL({rows, columns, channels, densityLevel, limitA, limitB});
}

inline std::int32_t stitchOpenCl(std::uint8_t* firstFrame, std::uint8_t* currentFrame,
                                 std::int32_t continueFlag, std::int32_t scale, std::int32_t expectedX,
                                 std::int32_t expectedY, bool useExpected, MosaicCorner* minCorner,
                                 MosaicCorner* maxCorner, cv::Mat* mosaic, StitchFlags* flags) {
    return stichingImagedJointCL({firstFrame,
                                  currentFrame,
                                  continueFlag,
                                  scale,
                                  {expectedX, expectedY, useExpected},
                                  minCorner,
                                  maxCorner,
                                  mosaic,
                                  flags});
}

inline SessionOptions openClSession(std::int32_t rows, std::int32_t cols, std::int32_t channels,
                                    std::int32_t mainMode = 1) {
    SessionOptions options;
    options.rows = rows;
    options.cols = cols;
    options.channels = channels;
    options.mainMode = mainMode;
    options.forceCpu = false;
    options.entries = {initOpenCl, stitchOpenCl, uinitJointCL};
    return options;
}

}  // namespace brantel::test
