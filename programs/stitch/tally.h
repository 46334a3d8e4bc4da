// A run in numbers, counted while it goes on: a live run may have any number of frames.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "stitch/frame_report.h"

namespace brantel::programs {

/// How far the found offsets are from the expected ones, over all placed frames that have both.
struct OffsetErrors {
    std::size_t compared = 0;
    std::size_t exact = 0;
    std::int32_t largest = 0;  ///< in x or y, pixels
};

/// Of the offsets found without an expectation, how many agree with it along an axis and how many would with
/// the other sign.
struct AxisAgreement {
    std::size_t same = 0;
    std::size_t opposite = 0;

    bool mirrored() const { return opposite >= 2 && opposite > 3 * same; }
};

class Tally {
  public:
    /// A report of a frame that was told before takes the place of the earlier one.
    void add(const FrameReport& report);

    std::size_t frames() const { return frames_; }
    std::size_t placed() const { return placed_; }
    /// Left out because they brought nothing new.
    std::size_t skipped() const { return skipped_; }
    std::size_t refused() const { return frames_ - placed_ - skipped_; }
    /// Of the refused ones those that may still be placed.
    std::size_t waiting() const { return waiting_; }
    /// Frames that waited and were placed when others had come that join them.
    std::size_t placedLater() const { return placedLater_; }
    /// Placed frames that lie elsewhere than was said beforehand, and the first of them.
    std::size_t contradicting() const { return contradicting_; }
    const FrameReport& firstContradicting() const { return firstContradicting_; }
    std::size_t count(Reason reason) const;

    /// Why frames were refused, by name.
    std::map<std::string, std::size_t> refusals() const;
    /// The same as text, for instance "2 unreadable, 1 motion".
    std::string refusalsText() const;

    const OffsetErrors& offsetErrors() const { return errors_; }
    const AxisAgreement& agreementX() const { return x_; }
    const AxisAgreement& agreementY() const { return y_; }

    /// Frames that the library was asked about, and how many of them had an expected shift.
    std::size_t stitched() const { return stitched_; }
    std::size_t expected() const { return expected_; }

    /// The first range in use.
    const std::optional<Range>& range() const { return range_; }
    /// Frames of which much is brighter than the range, and the brightest sample in them.
    std::size_t tooBright() const { return tooBright_; }
    double brightest() const { return brightest_; }

    /// What the library alone would reach: frames that went through it, by the time spent in it.
    double libraryFramesPerSecond() const;

    /// For every reason the frames that are refused for it, by number.
    const std::map<Reason, std::map<std::size_t, FrameReport>>& examples() const { return examples_; }

    /// The frame that was told last.
    const FrameReport& last() const { return last_; }

  private:
    void remove(const FrameReport& report, const Told& told);
    void addFirst(const FrameReport& report);
    void addOffsets(const FrameReport& report);

    std::size_t frames_ = 0;
    std::size_t placed_ = 0;
    std::size_t skipped_ = 0;
    std::size_t waiting_ = 0;
    std::size_t placedLater_ = 0;
    std::size_t contradicting_ = 0;
    FrameReport firstContradicting_;
    std::map<Reason, std::size_t> reasons_;
    OffsetErrors errors_;
    AxisAgreement x_;
    AxisAgreement y_;
    std::size_t expected_ = 0;
    std::optional<Range> range_;
    std::size_t tooBright_ = 0;
    double brightest_ = 0;
    std::size_t stitched_ = 0;
    double milliseconds_ = 0;
    std::map<Reason, std::map<std::size_t, FrameReport>> examples_;
    FrameReport last_;
};

}  // namespace brantel::programs
