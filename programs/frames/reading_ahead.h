// Reading and working at the same time.
#pragma once

#include <atomic>
#include <future>
#include <memory>
#include <optional>

#include "frames/frame.h"

namespace brantel::programs {

/// The frames of another source, each read on another thread while the one before is worked on.
class ReadingAhead : public FrameSource {
  public:
    explicit ReadingAhead(std::unique_ptr<FrameSource> source)
        : source_(std::move(source)), count_(source_->count()) {}

    /// What the source has thrown on its thread comes out here.
    bool next(Frame& frame) override;

    std::size_t count() const override { return count_; }
    std::size_t dropped() const override { return source_->dropped(); }
    /// Of the source; only to be asked after the end.
    std::string remark() const override { return ahead_.valid() ? "" : source_->remark(); }

  private:
    std::optional<Frame> read();

    std::unique_ptr<FrameSource> source_;
    std::atomic<std::size_t> count_;
    std::future<std::optional<Frame>> ahead_;  // last: its end waits for a read that still goes on
};

}  // namespace brantel::programs
