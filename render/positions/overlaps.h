// Which frames should overlap.
#pragma once

#include <cstddef>
#include <opencv2/core/types.hpp>
#include <utility>
#include <vector>

#include "positions/scan_frame.h"

namespace brantel::render {

/// The part of the second frame's area that the first one covers.
double overlapShare(const cv::Point2d& from, const cv::Point2d& to, cv::Size frame);

/// Pairs of wanted frames of one group whose overlap is worth comparing, smaller number first, in the order of these numbers. Where a
/// frame has many neighbours, the nearest one in each of eight directions is taken, and the one that the live run found it against.
std::vector<std::pair<std::size_t, std::size_t>> overlappingPairs(const std::vector<ScanFrame>& frames,
                                                                  cv::Size frame);

}  // namespace brantel::render
