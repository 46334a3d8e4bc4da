// A frame's features: grey image, and what a worker finds in it, corners and their descriptors.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/tuning.h"
#include "common/types.h"
#include "common/worker_pair.h"
#include "cpu/detection.h"
#include "registration/consensus.h"

namespace brantel {

enum class FrameRole { previous, current };

/// The part of a frame that the other frame overlaps under an expected shift; its origin is what corners
/// found in it must be moved by.
struct ExpectedOverlap {
    std::int32_t rowStart;
    std::int32_t rowEnd;
    std::int32_t colStart;
    std::int32_t colEnd;
};

/// The row rule depends on the sign of x as well as of y (for x < 0 a negative y keeps the previous frame's
/// bottom rows, for x >= 0 its top rows), deliberately. A shift beyond the frame gives an empty range.
ExpectedOverlap expectedOverlap(FrameRole role, const ExpectedShift& shift, std::int32_t rows,
                                std::int32_t cols);

/// One of the two frames of a registration with everything its worker needs; the sides share nothing.
struct FeatureSide {
    FrameRole role;
    FrameFeatures features;
    Buffer<std::uint8_t> grey;  // rows x cols and a zeroed row behind it, which descriptors read
    Buffer<std::uint8_t> crop;
    HarrisImages images;
    std::vector<std::uint16_t> scratch;

    explicit FeatureSide(FrameRole r) : role(r) {}
    void reset() { *this = FeatureSide(role); }
};

/// Grey image of a packed frame with a zeroed row behind it. Idle workers lend a hand; may be null.
void makeGrey(const std::uint8_t* frame, const ImageDesc& record, Buffer<std::uint8_t>& grey,
              WorkerPair* workers);

/// Fills side.features from a grey image with a zeroed row behind it. Corners are appended: the list is
/// emptied by who hands the job over.
void describeGrey(FeatureSide& side, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                  const ExpectedShift& expected, const CornerTuning& tuning,
                  const DetectionHelp* help = nullptr);

}  // namespace brantel
