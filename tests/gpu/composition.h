// What a GPU backend has to make of frames that differ where they overlap: cuts, brightness, blends.
#pragma once

#include <brantel/brantel.h>

#include <cstdint>
#include <vector>

#include "common/types.h"
#include "compose/regions.h"
#include "support/session.h"

namespace brantel::test {

/// What a canvas holds where a frame of this size lies.
Frame windowOf(const cv::Mat& canvas, CornerPoint at, const ImageDesc& size);

/// What an empty canvas with the first frame on it holds where the second one comes to lie.
Frame cutOfFirst(const Frame& first, const ImageDesc& size, Offset offset);

struct Blend {
    Frame byDevice;     // as the kernels are defined
    Frame byProcessor;  // as the processor blends

    Blend(const Frame& cut, const Frame& frame, const ImageDesc& size);
};

/// The blend as the kernels define it. Their weights are quotients in double, and with one channel they divide by 255
/// where the processor shifts by 8 bits: never more than a level apart.
void expectBlended(const Frame& placed, const Frame& cut, const Frame& frame, const ImageDesc& size);

/// One cut of an overlap and its grey image.
struct Cut {
    ImageDesc part{};
    Frame grey;

    Cut(const Frame& frame, const ImageDesc& size, const Region& region);
    /// The zero-sum filter's answer to the smoothed cut.
    Frame answer() const;
};

/// The record holds the brightness measures of two cuts.
void expectBrightness(const StitchFlags& record, const Cut& previous, const Cut& current);

}  // namespace brantel::test
