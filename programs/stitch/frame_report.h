// What became of one frame, and of one mosaic.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frames/frame.h"
#include "stitch/expectation.h"
#include "stitch/reason.h"

namespace brantel::programs {

/// What an earlier report of the same frame said.
struct Told {
    bool placed;
    bool waiting;
    Reason reason;
};

struct FrameReport {
    std::size_t number = 0;  ///< in the order of taking, from 1
    std::string name;
    Origin origin;
    std::string detail;            ///< why it could not be used
    std::optional<double> beyond;  ///< as in Toned
    bool placed = false;
    bool waiting = false;          ///< not placed, and may still be
    Reason reason = Reason::none;  ///< why it was not placed
    std::int32_t map = 0;          ///< number of the map in which its place is known, from 1; 0: not known
    cv::Point position;            ///< its top-left pixel there; (0, 0) is that of the map's first frame
    bool startsMosaic = false;     ///< it is that first frame
    std::int32_t foundBy = 0;      ///< as in brantel_frame
    double confidence = 0;
    std::int32_t matches = 0;
    std::size_t joins = 0;             ///< number of the frame that it was joined to; 0: none
    std::optional<Shift> offset;       ///< against that frame
    std::int32_t attempts = 0;         ///< calls of the library
    bool usedExpected = false;         ///< the last of them looked nowhere but at the expected shift
    std::optional<Shift> expected;     ///< as known beforehand, used or not
    std::optional<cv::Point2d> stage;  ///< where positions or a grid say that it lies, pixels
    bool contradicts = false;          ///< it lies elsewhere than was said beforehand
    double milliseconds = 0;           ///< time in the library
    std::optional<Told> before;        ///< it was reported before
};

inline Told saidBy(const FrameReport& report) {
    return {report.placed, report.waiting, report.reason};
}

/// A mosaic that no frame will be added to.
struct FinishedMosaic {
    std::int32_t number = 1;
    cv::Size size;
    cv::Point origin;  ///< the picture's top-left pixel against that of the first frame
    cv::Size frameSize;
    std::int32_t channels = 1;
    std::size_t firstFrame = 0;  ///< its number; it may have been placed in the mosaic before, too
    std::vector<cv::Point>
        path;  ///< every placed frame's top-left pixel in the picture, in the order of taking
    std::function<cv::Mat(const cv::Rect&)> read;  ///< a part of the picture; throws when memory is short
};

}  // namespace brantel::programs
