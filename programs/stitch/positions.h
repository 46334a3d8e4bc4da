// Positions of the stage out of a table.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "frames/frame.h"

namespace brantel::programs {

/// A header line with the columns x and y (pixels) or x_um and y_um (micrometres) and, if there is one, file;
/// one line per frame. Positions are the top-left corners of the frames. With a column "file" the lines belong
/// to the frames of that name, else the n-th line to the n-th frame.
class Positions {
  public:
    /// @param pixelSize  micrometres per pixel: the columns x_um and y_um are read; 0: x and y
    /// Throws InputError, naming file and line.
    static Positions read(const std::filesystem::path& path, double pixelSize);
    static Positions parse(const std::string& text, const std::string& name, double pixelSize);

    /// In pixels.
    std::optional<cv::Point2d> of(const Frame& frame) const;

    /// Leaves out the lines of files that are no frames. Throws InputError when none is left.
    void keepOnly(const std::vector<std::filesystem::path>& frames);

    /// The positions of the first frames, or of all (0); those of files all the same, in no particular order.
    std::vector<cv::Point2d> places(std::size_t frames) const;

  private:
    std::string name_;
    std::map<std::string, cv::Point2d> byFile_;
    std::vector<cv::Point2d> inOrder_;
};

}  // namespace brantel::programs
