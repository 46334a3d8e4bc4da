// Stitches a stream of frames into one mosaic or, where the track is lost or the area limit met, several.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "stitch/expectation.h"
#include "stitch/frame_report.h"
#include "stitch/session.h"

namespace brantel::programs {

/// What to do when a frame cannot be registered.
enum class OnLost {
    skip,     ///< leave it out; later frames are measured against the last one placed
    restart,  ///< the mosaic ends; the frame starts the next one
    stop      ///< no further frames
};

class Stitcher {
  public:
    /// Called with every frame when it is decided on. A frame that waits for a second one to begin a mosaic
    /// with is told as not placed, and once more when it is.
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

    /// Ends the last mosaic.
    void finish() { endMosaic(); }

    /// True when OnLost::stop has met a lost frame.
    bool stopped() const { return stopped_; }

    cv::Size canvasSize() const { return session_ && running() ? session_->canvasSize() : cv::Size(); }

  private:
    struct Candidate {
        Frame frame;
        FrameReport report;
    };

    bool running() const { return track_.size() > 1; }
    bool fits(const cv::Mat& image);
    void tell(FrameReport& report);
    void beginWith(Candidate candidate);
    void tryToBegin(Candidate& current);
    void startMosaic();
    void addTo(Candidate& current);
    bool tryPair(const Frame& earlier, Candidate& later, cv::Mat* first);
    bool contradicts(const FrameReport& report) const;
    void place(Candidate& current);
    void lose(Candidate& current);
    void endMosaic();

    SessionSettings settings_;
    OnLost onLost_;
    Expectation expectation_;
    LibraryLog& log_;
    Tell tell_;
    Save save_;

    std::unique_ptr<Session> session_;
    FrameGeometry geometry_{};
    std::vector<cv::Point>
        track_;  // the frames of the mosaic at hand against its first one; one entry: it waits
                 // for a second frame
    std::size_t firstFrame_ = 0;
    Candidate reference_;  // the last of them
    Candidate refused_;    // while waiting: the last frame that did not fit, a second candidate
    std::size_t taken_ = 0;
    std::int32_t mosaics_ = 0;
    bool stopped_ = false;
};

}  // namespace brantel::programs
