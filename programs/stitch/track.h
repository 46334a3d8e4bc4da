// A session, and which of the program's frames its frames are.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "stitch/frame_report.h"
#include "stitch/session.h"

namespace brantel::programs {

/// A frame on its way into a mosaic.
struct Candidate {
    Frame frame;
    FrameReport report;
    std::optional<cv::Point2d> place;  ///< as known beforehand
};

/// How a known place is used for a frame.
enum class PlaceUse {
    none,     ///< remembered for the frames that follow
    asGiven,  ///< the frame is looked for there
};

/// Maps count as mosaics, and get their numbers, when they hold two frames. Reports are told in the order of the frames,
/// and once more whenever what they say changes.
class Track {
  public:
    using Tell = std::function<void(const FrameReport&)>;

    /// @param session  without frames
    /// @param mosaics  how many mosaics were begun in this run
    Track(std::unique_ptr<Session> session, std::int32_t& mosaics, Tell tell)
        : session_(std::move(session)), mosaics_(mosaics), tell_(std::move(tell)) {}

    /// Adds the frame to the session and says in its report what became of it. Nothing is told. False when the library
    /// failed: then the session does not have the frame.
    bool add(Candidate& candidate, PlaceUse use);

    /// The frame added last is this one: its report is told from now on. A frame that is not kept is told elsewhere.
    void keep(const FrameReport& report) { entries_.back().report = report; }

    /// Tells the reports that are new or different.
    void tellChanges();

    /// Frames that wait will not be placed any more.
    void endWaiting();

    bool hasMosaic() const;
    /// The place, as known beforehand, of the last frame that was placed.
    std::optional<cv::Point2d> lastPlace() const;
    /// Whether the canvas of the map that the frame added last lies in has so many pixels.
    bool hasReached(std::int64_t area) const;
    /// Of the newest map.
    cv::Size canvasSize() const;

    /// The maps that are mosaics.
    std::vector<FinishedMosaic> mosaics() const;

  private:
    /// What a report depends on.
    struct Seen {
        brantel_frame frame{};
        std::int32_t number = 0;  // of its mosaic
    };
    struct Entry {
        std::optional<FrameReport> report;  // none: told elsewhere
        std::optional<cv::Point2d> place;
        Seen seen;  // when it was described last
        bool told = false;
    };

    void numberMaps();
    Seen look(std::size_t index);
    void describe(const Seen& seen, const std::optional<cv::Point2d>& place, FrameReport& report) const;
    void describeJoint(const brantel_frame& frame, const std::optional<cv::Point2d>& place,
                       FrameReport& report) const;
    bool standsStillAgainstExpectation(const FrameReport& report) const;
    FinishedMosaic mosaicOf(std::int32_t map) const;
    static bool isOpen(const Seen& seen);
    void tellIfChanged(std::size_t index);

    std::unique_ptr<Session> session_;
    std::int32_t& mosaics_;
    Tell tell_;
    std::vector<Entry> entries_;     // by the session's indices
    std::vector<std::size_t> open_;  // entries that a later frame may decide on, or that were never told
    bool mapsMoved_ = false;         // so that any entry may differ from what was told
    std::optional<std::size_t> lastPlaced_;
    std::vector<std::int32_t> numbers_;  // by the session's maps; 0: no mosaic yet
};

}  // namespace brantel::programs
