// The motion measure: how much a smoothed frame differs from the last one seen.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/worker_pair.h"

namespace brantel {

/// Smooths a grey image like smoothGrey (cpu/image_ops.h), row by row, into another. Needs more than 2 rows
/// and columns, else it copies. Idle workers lend a hand.
void smoothGreyInto(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols, std::uint8_t* smoothed,
                    Buffer<std::uint8_t>& scratch, WorkerPair* workers);

/// Keeps the last frame seen, smoothed. A measured frame takes its place only when it is accepted, at the end
/// of a call.
class MotionReference {
  public:
    /// Mean absolute difference, truncated, between the smoothed frame and the smoothed reference. A new
    /// mosaic measures against its first frame instead (firstGrey; null otherwise).
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
