// The library as an object: initJoint, one call per frame, uinitJoint.
#pragma once

#include <brantel/brantel.h>

#include <opencv2/core.hpp>
#include <optional>
#include <string>

#include "stitch/expectation.h"
#include "stitch/library_log.h"
#include "stitch/reason.h"

namespace brantel::programs {

/// initJoint's and stichingImagedJoint's settings that stay the same for all frames.
struct SessionSettings {
    std::int32_t densityLevel = 8;
    std::int32_t limitA = 20000;
    std::int32_t limitB = 20000;
    std::int32_t mainMode = 0;
    std::int32_t staticFlag = 0;
    std::int32_t scale = 1;
};

/// A shift in the form in which stichingImagedJoint expects it (the sign of y turns round with x < 0).
Shift asLibraryArgument(Shift shift);

/// Throws InputError when the area limit says nothing about mosaics of such frames.
void requireUsefulLimit(const SessionSettings& settings, cv::Size frame);

/// What one call said about its frame.
struct FrameAnswer {
    std::int32_t result = -1;
    bool merged = false;
    Reason reason = Reason::none;  ///< why it was not merged
    StitchFlags record{};
};

/// The one mosaic of the process, for frames of one size.
class Session {
  public:
    /// The limit must be a useful one. Throws std::runtime_error when the library refuses, std::bad_alloc when it
    /// finds no memory. The log must have been made before.
    Session(const SessionSettings& settings, const FrameGeometry& frame, LibraryLog& log);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Begins a new mosaic with two frames. While nothing is merged, the mosaic has not begun: call again.
    /// Zero samples of the first frame become 1.
    FrameAnswer begin(cv::Mat& first, const cv::Mat& current, const std::optional<Shift>& expected);

    /// Goes on with a mosaic that has begun.
    FrameAnswer add(const cv::Mat& current, const std::optional<Shift>& expected);

    /// The occupied part of the canvas. Shares its pixels: the next call may write into it.
    cv::Mat picture() const { return canvas_(occupied()); }

    /// Where the last merged frame's top-left pixel lies in picture().
    cv::Point lastFramePosition() const;

    cv::Size canvasSize() const { return canvas_.size(); }

  private:
    cv::Rect occupied() const;
    std::int32_t call(cv::Mat* first, const cv::Mat& current, const std::optional<Shift>& expected);
    FrameAnswer answer(std::int32_t result, bool merged);

    SessionSettings settings_;
    FrameGeometry frame_;
    LibraryLog& log_;
    cv::Mat canvas_;
    MosaicCorner minimum_{};
    MosaicCorner maximum_{};
    StitchFlags record_{};
};

}  // namespace brantel::programs
