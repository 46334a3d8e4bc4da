// What is known beforehand about where the frames lie.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "session.h"
#include "source.h"

namespace host {

/// Stage positions out of a table: a header line with the columns x and y and, if there is one, file; one
/// line per frame. x and y are the top-left corner of the frame in pixels, x to the right and y down. With a
/// column "file" the lines belong to the frames of that name, else the n-th line to the n-th frame.
class Positions {
  public:
    /// Throws InputError, naming file and line.
    static Positions read(const std::filesystem::path& path);
    static Positions parse(const std::string& text, const std::string& name);

    std::optional<cv::Point2d> of(const Frame& frame) const;

  private:
    std::map<std::string, cv::Point2d> byFile_;
    std::vector<cv::Point2d> inOrder_;
};

/// The shift to expect from one frame to a later one: by positions, by a constant step, or unknown.
class Expectation {
  public:
    Expectation() = default;
    explicit Expectation(Positions positions) : positions_(std::move(positions)) {}
    explicit Expectation(Shift step) : step_(step) {}

    std::optional<Shift> between(const Frame& earlier, const Frame& later) const;

    /// The expectations to try in turn, nullopt meaning none. A constant step is what the user asks for and
    /// comes first. Positions come second: stages are off by more than a registration over the whole frame.
    /// A shift without overlap is no help and left out.
    std::vector<std::optional<Shift>> attempts(const Frame& earlier, const Frame& later) const;

  private:
    std::optional<Positions> positions_;
    std::optional<Shift> step_;
};

}  // namespace host
