// What became of one frame, and of one mosaic.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frames/frame.h"
#include "stitch/session.h"

namespace brantel::programs {

struct FrameReport {
    std::size_t number = 0;  ///< in the order of taking, from 1
    std::string name;
    Origin origin;
    std::string detail;            ///< why it could not be read
    std::optional<double> beyond;  ///< as in Toned
    bool placed = false;
    Reason reason = Reason::none;  ///< why it was not placed
    std::int32_t mosaic = 0;       ///< number of the mosaic it was placed in, from 1
    cv::Point position;            ///< its top-left pixel against that of the mosaic's first frame
    bool startsMosaic = false;     ///< it is the first frame of that mosaic
    bool measured = false;         ///< answer holds the record of this frame
    FrameAnswer answer;
    std::int32_t attempts = 0;      ///< calls of the library
    bool usedExpected = false;      ///< the last of them had an expected shift
    std::optional<Shift> expected;  ///< as known beforehand, used or not
    double milliseconds = 0;        ///< time in the library
    std::optional<Reason> before;   ///< it was reported before, as not placed for this reason
};

/// A mosaic that no frame will be added to.
struct FinishedMosaic {
    std::int32_t number = 1;
    cv::Mat picture;
    cv::Point origin;  ///< the picture's top-left pixel against that of the first frame
    cv::Size frameSize;
    std::size_t firstFrame = 0;  ///< its number; it may have been placed in the mosaic before, too
    std::vector<cv::Point>
        path;  ///< every placed frame's top-left pixel in the picture, in the order of placing
};

}  // namespace brantel::programs
