// What a session knows about each frame that was added.
#pragma once

#include <brantel/session.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "common/types.h"

namespace brantel::session {

/// Where a host believes a frame to lie.
struct GivenPosition {
    double x = 0;
    double y = 0;
    double uncertainty = 0;
};

/// The numbers of state, reason and foundBy are those of the C interface.
struct FrameEntry {
    std::int64_t tag = 0;
    std::int32_t state = BRANTEL_WAITING;
    std::int32_t reason = BRANTEL_NO_REASON;
    std::int32_t foundBy = BRANTEL_NOT_FOUND;
    std::int32_t group = 0;  // frames of different groups never join each other
    std::int32_t map = 0;    // 0: its place is not known
    CornerPoint at{};        // in that map
    std::int32_t matches = 0;
    double confidence = 0;
    std::int64_t joins = -1;
    std::optional<GivenPosition> given;
};

using FrameList = std::vector<FrameEntry>;

}  // namespace brantel::session
