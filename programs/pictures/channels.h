// The number of a picture's channels.
#pragma once

#include <opencv2/core/mat.hpp>

namespace brantel::programs {

enum class Channels { asStored, grey, colour };

/// The picture (8 or 16 bits, 1 or 3 channels) with the wanted number of channels; itself when it has them. Grey
/// values are the usual weighted sums, the same on every system.
cv::Mat withChannels(const cv::Mat& picture, Channels wanted);

}  // namespace brantel::programs
