// Which frames of a report belong into a picture, and what is known of their places.
#pragma once

#include <cstddef>
#include <vector>

#include "positions/scan_frame.h"
#include "render/report_reader.h"

namespace brantel::programs {

struct ScanFrames {
    std::vector<render::ScanFrame> frames;  ///< one for each of the report's
    std::size_t nothingNew = 0;             ///< left out since others show the same
    std::size_t placeless = 0;              ///< left out since nothing says where they lie
};

/// Placed frames are wanted, and those that the live run has not placed but whose place the stage knows.
ScanFrames scanFramesOf(const ScanReport& report);

/// The frame of this number, from 0, belongs into no picture after all.
void leaveOut(std::size_t number, std::vector<render::ScanFrame>& frames);

/// Numbers of the wanted ones, from 0.
std::vector<std::size_t> wantedOf(const std::vector<render::ScanFrame>& frames);

/// How large the picture of each group will be by the places, in pixels.
std::vector<cv::Size2d> extentsOf(const std::vector<render::ScanFrame>& frames, cv::Size frame);

}  // namespace brantel::programs
