// The offset that most matches agree on: every hypothesis against every pair of points.
#pragma once

#include <cstdint>
#include <vector>

#include "common/log.h"
#include "reference/stage_hook.h"
#include "registration/consensus.h"

namespace brantel::reference {

/// The first hypothesis with the most pairs nearer than 4 pixels wins. Consumes both lists; false, with a line, when one
/// is empty.
bool ransacMatchSPointArrayFun(const Log& log, std::vector<CornerPoint>& previous,
                               std::vector<CornerPoint>& current, std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy);

/// Matching, consensus and the decision whether to believe it.
bool estimateOffset(const Log& log, const FrameFeatures& previous, const FrameFeatures& current,
                    std::int32_t rows, std::int32_t cols, Registration result,
                    const StageHook& hook = nullptr);

}  // namespace brantel::reference
