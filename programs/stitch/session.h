// The library's session as an object.
#pragma once

#include <brantel/session.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

#include "stitch/library_log.h"

namespace brantel::programs {

/// What stays the same for all frames of a run.
struct SessionSettings {
    std::int32_t densityLevel = 8;
    std::int32_t limitA = 20000;
    std::int32_t limitB = 20000;
    std::int32_t mainMode = 0;    ///< which test a frame must pass: 0 brightness, 1 motion
    std::int32_t staticFlag = 0;  ///< by the narrow limits
    bool search = true;           ///< frames are looked for around all earlier ones, and may wait
    bool trustPositions = false;  ///< a frame whose picture says nothing is placed by its position
};

struct FrameGeometry {
    std::int32_t rows;
    std::int32_t columns;
    std::int32_t channels;
};

/// Throws InputError when the area limit says nothing about mosaics of such frames.
void requireUsefulLimit(const SessionSettings& settings, cv::Size frame);

class Session {
  public:
    /// @param testFrames  false: every frame passes its test, since that was passed before
    /// Throws std::bad_alloc, and std::runtime_error when the library refuses. The log outlives the session.
    Session(const SessionSettings& settings, const FrameGeometry& frame, bool testFrames, LibraryLog& log);
    ~Session() { brantel_session_close(session_); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Anything but BRANTEL_OK: the frame was not added, and error() says why.
    brantel_status add(const cv::Mat& image, const brantel_input& input, brantel_answer& answer);
    std::string error() const { return brantel_session_error(session_); }

    /// Frames that wait are refused.
    void endMap();

    std::int64_t frameCount() const { return brantel_session_frame_count(session_); }
    brantel_frame frame(std::int64_t index) const;
    std::int32_t mapCount() const { return brantel_session_map_count(session_); }
    brantel_map map(std::int32_t number) const;

    /// A part of a map, in its coordinates. Throws std::bad_alloc or the picture library's like.
    cv::Mat read(std::int32_t number, const cv::Rect& part) const;

    const FrameGeometry& geometry() const { return frame_; }

  private:
    void require(brantel_status status) const;

    FrameGeometry frame_;
    brantel_session* session_ = nullptr;
};

}  // namespace brantel::programs
