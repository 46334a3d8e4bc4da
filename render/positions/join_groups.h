// Maps of one run that the live run did not join.
#pragma once

#include <vector>

#include "cancel.h"
#include "frame_reader.h"
#include "positions/scan_frame.h"

namespace brantel::render {

/// Compares frames of different groups, near where the stage says they lie or, without a stage, each with each as far as a few thousand
/// comparisons reach. Groups that overlap for certain become one, in the coordinates of the one with the smaller number; so
/// do groups that only the stage connects.
void joinGroups(std::vector<ScanFrame>& frames, cv::Size frameSize, FrameReader& reader,
                const Progress& progress);

}  // namespace brantel::render
