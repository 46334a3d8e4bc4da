// Is a shift to be believed?
#pragma once

#include <cstdint>

#include "coarse/joint_patches.h"

namespace brantel::session {

enum class CoarseVerdict {
    none,      // the pictures say nothing, or that they do not overlap
    doubtful,  // worth asking the corners: to be believed if they agree within a few pixels
    certain,   // to be believed as it stands
};

/// A place as both levels see it. Shifts in full-size pixels.
struct RefinedPlace {
    JointPeak middle;
    JointPeak finest;

    /// The smaller likeness of the levels that were looked at.
    double likeness() const;
    /// How many patches agree perfectly, or more of them less well, at the worse level.
    double strength() const;
};

/// True when a likeness is so far above another one that the difference of their Fisher transforms reaches half
/// the logarithm of the ratio; without a logarithm, since not every machine rounds that the same.
bool leads(double likeness, double other, double ratio);

/// The lead over other places that a certain shift needs, a difference of 0.35.
constexpr double certainLead = 2.0137527;

/// What to make of the best place. rival is the likeness of the second-best one; middleFactor is the middle
/// level's.
CoarseVerdict judge(const RefinedPlace& best, double rival, std::int32_t middleFactor);

/// 0 for none, up to 0.5 for doubtful, up to 1 for certain.
double confidenceOf(CoarseVerdict verdict, const RefinedPlace& best);

}  // namespace brantel::session
