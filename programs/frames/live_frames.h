// A camera, which does not wait.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "frames/frame.h"

namespace brantel::programs {

/// Takes frames as they come, on a thread of its own. A few are kept for whoever is slower than the camera for
/// a moment; then the oldest unread one is dropped and counted.
class LiveFrames : public FrameSource {
  public:
    /// Waits for the next frame, with 1 or 3 channels of 8 bits; an empty one: the camera gives no more.
    using Grab = std::function<cv::Mat()>;

    LiveFrames(std::string name, Grab grab, std::size_t kept = 4);
    /// Waits for a grab that still goes on.
    ~LiveFrames() override;

    bool next(Frame& frame) override;
    std::size_t dropped() const override;

  private:
    void takeAll();
    void keep(cv::Mat image, std::size_t number);

    std::string name_;
    Grab grab_;
    std::size_t most_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Frame> unread_;
    std::size_t dropped_ = 0;
    bool ended_ = false;
    bool leaving_ = false;
    std::thread camera_;  // last: everything else is there when it starts
};

}  // namespace brantel::programs
