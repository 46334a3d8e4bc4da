// A small picture of a mosaic with the frames and the camera's path drawn on it.
#pragma once

#include "stitcher.h"

namespace host {

/// At most 2000 pixels along the longer side. Outlines and path run from yellow (first frame) to red (last).
cv::Mat overviewOf(const FinishedMosaic& mosaic);

}  // namespace host
