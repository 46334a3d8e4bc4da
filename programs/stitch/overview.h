// A small picture of a mosaic with the frames and the camera's path drawn on it.
#pragma once

#include "stitch/frame_report.h"

namespace brantel::programs {

/// At most 2000 pixels along the longer side. Marks shrink with the frames. Outlines and path run from yellow (first frame) to red (last).
/// @param whole  the picture at full size
cv::Mat overviewOf(const cv::Mat& whole, const FinishedMosaic& mosaic);

}  // namespace brantel::programs
