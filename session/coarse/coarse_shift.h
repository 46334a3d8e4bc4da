// The shift between two frames without any prior knowledge, and how sure it is.
#pragma once

#include <cstdint>
#include <vector>

#include "coarse/coarse_frame.h"
#include "coarse/places.h"
#include "coarse/scales.h"
#include "coarse/shift_map.h"
#include "coarse/verdict.h"

namespace brantel::session {

/// Where one frame lies in another, in pixels of the full-size frame, x to the right, y down.
struct CoarseShift {
    CoarseVerdict verdict = CoarseVerdict::none;
    double x = 0;  // of the current frame's top-left pixel in the previous frame, with fractions
    double y = 0;
    double confidence = 0;  // 0 to 1; 0 with the verdict none
    double low = 0;         // joint correlation of patches of the overlap, the smaller one of two levels
    double rival = 0;       // the same of the second-best place
    double strength = 0;    // low squared x the number of patches that count, the smaller one of two levels
};

/// Where a shift is expected, in full-size pixels. Only places at most uncertainty away (in x and in y) are
/// looked at.
struct ShiftHint {
    double x = 0;
    double y = 0;
    double uncertainty = 0;
};

/// Compares frames of one size. Every result is the same on every machine, compiler and instruction level.
/// One thread at a time per matcher. Nothing but scratch memory is kept between calls.
class CoarseMatcher {
  public:
    /// Frames of rows x cols, each at least 1.
    CoarseMatcher(std::int32_t rows, std::int32_t cols);

    /// Makes what is kept of a frame from its full-size packed grey picture.
    void prepare(const std::uint8_t* grey, CoarseFrame& frame);
    /// The shift between two prepared frames, whose full-size grey pictures are read again. Spectra that were
    /// dropped are made anew and stay. The frames may be the same.
    CoarseShift match(CoarseFrame& previous, const std::uint8_t* previousGrey, CoarseFrame& current,
                      const std::uint8_t* currentGrey, const ShiftHint* hint = nullptr);

  private:
    /// Two frames while they are compared.
    struct Pair {
        const CoarseFrame& previous;
        const CoarseFrame& current;
        const std::uint8_t* previousGrey;
        const std::uint8_t* currentGrey;
    };

    Comparable comparable(CoarseFrame& frame);
    ShiftWindow windowOf(const ShiftHint* hint) const;
    JointPeak refineMiddle(const Place& place, const Pair& pair) const;
    JointPeak refineFinest(const JointPeak& middle, const Pair& pair) const;
    std::vector<RefinedPlace> refinedPlaces(const ShiftHint* hint, const Pair& pair) const;

    Scales scales_;
    ShiftMap map_;
    std::vector<std::int32_t> coarsePicture_;  // scratch
};

}  // namespace brantel::session
