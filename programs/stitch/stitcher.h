// Stitches a stream of frames into one mosaic or several.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "stitch/expectation.h"
#include "stitch/frame_report.h"
#include "stitch/session.h"
#include "stitch/track.h"

namespace brantel::programs {

/// What to do when a frame cannot be registered.
enum class OnLost {
    skip,     ///< leave it out, or let it wait; later frames may be placed again
    restart,  ///< the mosaic ends; the frame starts the next one
    stop      ///< no further frames
};

/// With search a session keeps the track by itself: it decides on what waits, and on how many maps there are. Without, a
/// frame is compared with the last one placed, and a mosaic begins with the first pair that fits.
class Stitcher {
  public:
    /// Called with every frame when it is decided on, and once more when that changes.
    using Tell = std::function<void(const FrameReport&)>;
    using Save = std::function<void(const FinishedMosaic&)>;

    Stitcher(const SessionSettings& settings, OnLost onLost, Expectation expectation, LibraryLog& log,
             Tell tell, Save save)
        : settings_(settings),
          onLost_(onLost),
          expectation_(std::move(expectation)),
          log_(log),
          tell_(std::move(tell)),
          save_(std::move(save)) {}

    void take(Frame frame);

    /// Saves the mosaics that there are.
    void finish() { saveMosaics(); }

    /// True when OnLost::stop has met a lost frame.
    bool stopped() const { return stopped_; }

    cv::Size canvasSize() const { return track_ ? track_->canvasSize() : cv::Size(); }

  private:
    std::unique_ptr<Track> newTrack();
    bool isUsable(Candidate& current);
    void tell(FrameReport& report);
    void beginWith(Candidate candidate);
    void addTo(Candidate& current);
    void tryToBegin(Candidate& current);
    bool tryRefused(Candidate& current);
    bool tryPair(const Candidate& first, Candidate& second);
    bool tryFrame(Track& track, Candidate& current);
    bool follow(Track& track, Candidate& current);
    void settle(Candidate& current, bool added);
    void saveMosaics();
    void endMosaics();

    SessionSettings settings_;
    OnLost onLost_;
    Expectation expectation_;
    LibraryLog& log_;
    Tell tell_;
    Save save_;

    std::optional<FrameGeometry> geometry_;  // of the first frame that could be read
    std::unique_ptr<Track> track_;
    std::size_t taken_ = 0;
    std::int32_t mosaics_ = 0;
    bool stopped_ = false;

    std::optional<Candidate> refused_;  // until a mosaic has begun: the last frame that did not fit the first

    // Without search.
    std::optional<Candidate> reference_;  // it waits for a second frame to begin a mosaic with
    bool testPassed_ = false;  // the brightness test counts for all mosaics of a run once it is passed
};

}  // namespace brantel::programs
