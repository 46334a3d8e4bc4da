// The frames of a scan, wherever they lie.
#pragma once

#include <cstddef>
#include <opencv2/core/mat.hpp>

namespace brantel::render {

/// Frames are numbered from 0 and all of one size and format.
class FrameReader {
  public:
    virtual ~FrameReader() = default;

    /// A frame's samples: 1 or 3 channels (blue, green, red) of 8 or 16 bits, as they are stored. Empty when it cannot be
    /// read, which the reader tells its owner. From any thread, several at a time. Throws std::bad_alloc.
    virtual cv::Mat read(std::size_t frame) = 0;

    /// The samples in 8 bits and grey, as the live run has compared them, without gaps between the rows. From any thread.
    virtual cv::Mat grey(std::size_t frame, const cv::Mat& samples) const = 0;
};

}  // namespace brantel::render
