// Stitches a stream of frames into one mosaic or, where the track is lost or the area limit met, several.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "positions.h"
#include "session.h"

namespace host {

/// What to do when a frame cannot be registered.
enum class OnLost {
    skip,     ///< leave it out; later frames are measured against the last one placed
    restart,  ///< the mosaic ends; the frame starts the next one
    stop      ///< no further frames
};

/// What became of one frame.
struct FrameReport {
    std::string name;
    bool placed = false;
    Reason reason = Reason::none;  ///< why it was not placed
    std::int32_t mosaic = 0;       ///< number of the mosaic it was placed in, from 1
    cv::Point position;            ///< its top-left pixel in that mosaic's picture
    bool startsMosaic = false;     ///< it is the first frame of that mosaic
    bool measured = false;         ///< answer holds the record of this frame
    FrameAnswer answer;
    std::int32_t attempts = 0;      ///< calls of the library
    bool usedExpected = false;      ///< the last of them had an expected shift
    std::optional<Shift> expected;  ///< as known beforehand, used or not
    double milliseconds = 0;        ///< time in the library
};

/// A mosaic that no frame will be added to.
struct FinishedMosaic {
    std::int32_t number = 1;
    cv::Mat picture;
    cv::Size frameSize;
    std::vector<cv::Point> path;  ///< top-left pixel of every placed frame, in the order of placing
};

class Stitcher {
  public:
    using Save = std::function<void(const FinishedMosaic&)>;

    Stitcher(const SessionSettings& settings, OnLost onLost, Expectation expectation, LibraryLog& log,
             Save save)
        : settings_(settings),
          onLost_(onLost),
          expectation_(std::move(expectation)),
          log_(log),
          save_(std::move(save)) {}

    void take(Frame frame);

    /// Ends the last mosaic. Positions and mosaics of the reports are complete after that.
    void finish();

    /// True when OnLost::stop has met a lost frame.
    bool stopped() const { return stopped_; }

    const std::vector<FrameReport>& reports() const { return reports_; }
    std::size_t placed() const { return placed_; }
    cv::Size canvasSize() const { return session_ && running() ? session_->canvasSize() : cv::Size(); }

  private:
    struct Placed {
        std::size_t report;
        cv::Point at;  // against the mosaic's first frame, so that growth at the top or left changes nothing
    };

    bool running() const { return track_.size() > 1; }
    bool fits(const cv::Mat& image);
    void beginWith(Frame frame);
    void tryToBegin(const Frame& frame, FrameReport& report);
    void startMosaicWith(FrameReport& first);
    void addTo(const Frame& frame, FrameReport& report);
    bool tryPair(const Frame& earlier, const Frame& later, FrameReport& report, cv::Mat* first);
    void place(const Frame& frame, FrameReport& report);
    void lose(const Frame& frame);
    void endMosaic();

    SessionSettings settings_;
    OnLost onLost_;
    Expectation expectation_;
    LibraryLog& log_;
    Save save_;

    std::unique_ptr<Session> session_;
    FrameGeometry geometry_{};
    std::vector<FrameReport> reports_;
    std::vector<Placed> track_;  // the frames of the mosaic at hand; one entry: it waits for a second frame
    Frame reference_;            // the last of them
    Frame refused_;              // while waiting: the last frame that did not fit, a second candidate
    std::int32_t mosaics_ = 0;
    std::size_t placed_ = 0;
    bool stopped_ = false;
};

}  // namespace host
