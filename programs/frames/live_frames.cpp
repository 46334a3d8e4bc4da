#include "frames/live_frames.h"

#include <chrono>

#include "system/stop.h"

namespace brantel::programs {

namespace {

/// How long somebody who asks for a stop may have to wait.
constexpr auto lookRound = std::chrono::milliseconds(50);

}  // namespace

LiveFrames::LiveFrames(std::string name, Grab grab, std::size_t kept)
    : name_(std::move(name)), grab_(std::move(grab)), most_(kept), camera_([this] { takeAll(); }) {}

LiveFrames::~LiveFrames() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        leaving_ = true;
    }
    camera_.join();
}

/// What goes wrong with the camera, or with memory for its frames, ends it.
void LiveFrames::takeAll() {
    try {
        for (std::size_t number = 1;; ++number) {
            cv::Mat image = grab_();
            if (image.empty()) break;
            const std::lock_guard<std::mutex> lock(mutex_);
            if (leaving_) break;
            keep(std::move(image), number);
        }
    } catch (...) {
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

void LiveFrames::keep(cv::Mat image, std::size_t number) {
    if (unread_.size() == most_) {
        unread_.pop_front();
        ++dropped_;
    }
    Frame frame;
    frame.index = number - 1;
    frame.name = name_ + "#" + std::to_string(number);
    frame.image = std::move(image);
    frame.origin.page = number;
    unread_.push_back(std::move(frame));
    changed_.notify_all();
}

bool LiveFrames::next(Frame& frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (unread_.empty() && !ended_) {
        if (stopRequested()) return false;
        changed_.wait_for(lock, lookRound);
    }
    if (unread_.empty() || stopRequested()) return false;
    frame = std::move(unread_.front());
    unread_.pop_front();
    return true;
}

std::size_t LiveFrames::dropped() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return dropped_;
}

}  // namespace brantel::programs
