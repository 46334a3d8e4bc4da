// What is known beforehand about the shifts between frames.
#pragma once

#include <optional>
#include <vector>

#include "stitch/grid.h"
#include "stitch/positions.h"

namespace brantel::programs {

/// A shift between two frames: where the later one's top-left pixel lies in the earlier one.
using Shift = cv::Point;

/// The shift to expect from one place to another one, if both are known.
std::optional<Shift> shiftBetween(const std::optional<cv::Point2d>& from,
                                  const std::optional<cv::Point2d>& to);

/// By positions, by a grid, by a constant step, or unknown.
class Expectation {
  public:
    Expectation() = default;
    explicit Expectation(Positions positions) : positions_(std::move(positions)) {}
    explicit Expectation(const Grid& grid) : grid_(grid) {}
    explicit Expectation(Shift step) : step_(step) {}

    /// Positions and grid with an axis turned round.
    void flip(bool x, bool y);

    /// True for positions and grids: the shifts are measured ones, and worth comparing with.
    bool measured() const { return positions_ || grid_; }

    /// True for a constant step.
    bool isStep() const { return step_.has_value(); }

    /// Where the frame is believed to lie, pixels; only differences count.
    std::optional<cv::Point2d> placeOf(const Frame& frame) const;

    /// The expectations to try in turn where no other frames are searched, nullopt meaning none. A constant step is
    /// what the user asks for and comes first. Positions come second: stages are off by more than a registration over
    /// the whole frame. A shift without overlap is no help and left out.
    std::vector<std::optional<Shift>> attempts(const std::optional<Shift>& expected, cv::Size frame) const;

    /// How large the mosaic of so many frames (0: all that there are positions for) will be, if that is known.
    std::optional<cv::Size> extent(cv::Size frame, std::size_t frames) const;

  private:
    std::optional<Positions> positions_;
    std::optional<Grid> grid_;
    std::optional<Shift> step_;
    double signX_ = 1;
    double signY_ = 1;
};

}  // namespace brantel::programs
