// Does a frame join another one, and where?
#pragma once

#include <cstdint>

#include "coarse/coarse_shift.h"
#include "cpu/state.h"

namespace brantel::session {

struct PairResult {
    bool joined = false;
    Offset offset{};  // of the current frame's top-left pixel in the other frame
    std::int32_t foundBy = 0;
    std::int32_t matches = 0;
    double confidence = 0;
    bool contradicted = false;  // the hint was wrong
};

/// The template and the current frame of an engine, compared by correlation and by corners.
class PairMatcher {
  public:
    PairMatcher(CpuEngine& engine, CoarseMatcher& coarse, bool trustCorrelation)
        : engine_(engine), coarse_(coarse), trustCorrelation_(trustCorrelation) {}

    /// A correlation that is certain counts, a doubtful one when corners found with its shift as the expected one agree
    /// with it; the offset is the corners' one if they agree. With a hint the place is looked for there first.
    /// @param askCornersAtHint  when correlation says nothing, corners near the hint count
    PairResult compare(CoarseFrame& previous, CoarseFrame& current, const ShiftHint* hint,
                       bool askCornersAtHint);

  private:
    CoarseShift correlate(CoarseFrame& previous, CoarseFrame& current, const ShiftHint* hint);
    PairResult believe(const CoarseShift& shift);
    PairResult cornersAtHint(const ShiftHint& hint);
    bool askCorners(Offset expected, PairResult& result);

    CpuEngine& engine_;
    CoarseMatcher& coarse_;
    bool trustCorrelation_;
};

}  // namespace brantel::session
