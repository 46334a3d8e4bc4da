// Frames read one after the other, kept while their neighbours are looked at.
#pragma once

#include <deque>
#include <future>
#include <opencv2/core/mat.hpp>
#include <unordered_map>
#include <vector>

#include "coarse/coarse_frame.h"
#include "frame_reader.h"
#include "light/cells.h"

namespace brantel::render {

/// What is kept of a frame.
struct FrameExtract {
    cv::Mat grey;  ///< empty when the frame could not be read
    session::CoarseFrame coarse;
    LightPicture light;
    double white = 255;  ///< the brightest sample that there can be
};

/// Reads frames ahead, in a given order.
class FrameWindow {
  public:
    FrameWindow(FrameReader& reader, cv::Size frame, std::vector<std::size_t> order);

    /// The next frame in the order; it stays until drop().
    FrameExtract& take();
    FrameExtract& at(std::size_t frame) { return kept_.at(frame); }
    void drop(std::size_t frame) { kept_.erase(frame); }

  private:
    void readAhead();

    FrameReader& reader_;
    cv::Size size_;
    std::vector<std::size_t> order_;
    std::size_t begun_ = 0;
    std::size_t taken_ = 0;
    std::unordered_map<std::size_t, FrameExtract> kept_;
    std::deque<std::future<FrameExtract>>
        ahead_;  // last: going away, they wait for their threads, which use the rest
};

}  // namespace brantel::render
