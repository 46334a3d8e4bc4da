// Plain twins of registration/consensus.h, documented there.
#pragma once

#include <cstdint>
#include <vector>

#include "common/types.h"
#include "plain/stage_hook.h"

namespace brantel::plain {

bool ransacMatchSPointArrayFun(std::vector<CornerPoint>& previous, std::vector<CornerPoint>& current,
                               std::vector<CornerPoint>& previousInliers,
                               std::vector<CornerPoint>& currentInliers, float* dx, float* dy);

struct FrameFeatures {
    std::vector<CornerPoint> corners;
    std::vector<std::uint16_t> descriptors;
};

struct Registration {
    Offset* offset;
    std::int32_t* matchCount;
};

bool estimateOffset(const FrameFeatures& previous, const FrameFeatures& current, std::int32_t rows,
                    std::int32_t cols, Registration result, const StageHook& hook = nullptr);

}  // namespace brantel::plain
