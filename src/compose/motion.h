// The motion measure: how much a smoothed frame differs from the last one seen.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/worker_pair.h"

namespace brantel {

/// Keeps the last frame seen, smoothed with the 5-tap kernel down the columns, then along the rows, edges
/// mirrored (a frame of up to 2 rows or columns as it is). A measured frame takes its place only when it is
/// accepted, at the end of a call.
class MotionReference {
  public:
    /// Mean absolute difference, truncated, between the smoothed frame and the smoothed reference. A new
    /// mosaic measures against its first frame instead (firstGrey; null otherwise). Idle workers help.
    std::int64_t measure(const std::uint8_t* firstGrey, const std::uint8_t* grey, std::int32_t rows,
                         std::int32_t cols, WorkerPair* workers);
    /// The frame last measured becomes the reference.
    void accept();
    /// Makes a frame that was not measured the reference.
    void setGrey(const std::uint8_t* grey, std::int64_t pixels);

  private:
    Buffer<std::uint8_t> reference_;
    Buffer<std::uint8_t> candidate_;
    Buffer<std::uint8_t> rowScratch_;
    bool smoothed_ = false;  // the reference is
};

}  // namespace brantel
