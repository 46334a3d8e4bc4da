// A session that stitches through OpenCL: an engine of its own instead of the exports, which never choose it.
#pragma once

#include <memory>

#include "api/process_log.h"
#include "opencl/backend.h"
#include "support/session.h"

namespace brantel::test {

/// The three functions over one engine, which ends with the last copy of them.
inline Entries openClEntries() {
    const std::shared_ptr<Engine> engine = makeOpenclEngine(processLogSink());
    Entries entries;
    entries.init = [engine](std::int32_t rows, std::int32_t columns, std::int32_t channels,
                            std::int32_t densityLevel, std::int32_t limitA, std::int32_t limitB,
                            std::int32_t mainMode, std::int32_t staticFlag) {
        return engine->initJoint({rows, columns, channels, densityLevel, limitA, limitB},
                                 {mainMode, staticFlag});
    };
    entries.stitch = [engine](std::uint8_t* firstFrame, std::uint8_t* currentFrame, std::int32_t continueFlag,
                              std::int32_t scale, std::int32_t expectedX, std::int32_t expectedY,
                              bool useExpected, MosaicCorner* minCorner, MosaicCorner* maxCorner,
                              cv::Mat* mosaic, StitchFlags* flags) {
        return engine->stichingImagedJoint({firstFrame,
                                            currentFrame,
                                            continueFlag,
                                            scale,
                                            {expectedX, expectedY, useExpected},
                                            minCorner,
                                            maxCorner,
                                            mosaic,
                                            flags});
    };
    entries.uninit = [engine] { return engine->uinitJoint(); };
    return entries;
}

inline SessionOptions openClSession(std::int32_t rows, std::int32_t cols, std::int32_t channels,
                                    std::int32_t mainMode = 1) {
    SessionOptions options;
    options.rows = rows;
    options.cols = cols;
    options.channels = channels;
    options.mainMode = mainMode;
    options.forceCpu = false;
    options.entries = openClEntries();
    return options;
}

}  // namespace brantel::test
