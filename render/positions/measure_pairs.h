// Where frames that should overlap lie against each other, and how bright they are there.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "cancel.h"
#include "frame_reader.h"
#include "light/solve_light.h"
#include "positions/scan_frame.h"

namespace brantel::render {

struct Measurements {
    std::vector<MeasuredPair> pairs;
    LightEvidence light;
    std::vector<std::size_t> unreadable;
};

/// Reads every wanted frame once, from the top to the bottom of the scan, and keeps it as long as neighbours follow: memory
/// grows with the width of the scan only.
Measurements measurePairs(const std::vector<ScanFrame>& frames, cv::Size frameSize,
                          const std::vector<std::pair<std::size_t, std::size_t>>& pairs, FrameReader& reader,
                          const Progress& progress);

}  // namespace brantel::render
