// A shift refined by patches of the overlap that are correlated together.
#pragma once

#include "coarse/patch_choice.h"

namespace brantel::session {

/// A level of both frames.
struct LevelPair {
    LevelView previous;
    LevelView current;
};

/// What the patches say of a place. None outweighs the others: a patch with far more contrast than the rest
/// counts for less than its contrast.
struct JointPeak {
    bool found = false;  // false: too little overlaps
    double x = 0;        // of the shift, in pixels of the level, with fractions
    double y = 0;
    double likeness = 0;  // joint correlation of all patches, 0 to 1
    double beside = 0;    // the greatest one at the shifts next to the best: near likeness on smooth content
    double votes = 0;     // share of the patches that agree, by weight: patches without structure have none
    double support = 0;   // number of patches of equal weight that would say as much
};

/// Refines the shift (x, y), which may be off by a little more than the plan's radius.
JointPeak refine(const LevelPair& level, const PatchPlan& plan, double x, double y);

}  // namespace brantel::session
