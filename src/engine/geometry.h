// Which frames can be stitched at all.
#pragma once

#include "common/log.h"
#include "engine/stitch_call.h"

namespace brantel {

/// True when frames of this kind can be stitched: positive sizes, 1 or 3 channels, and a new canvas whose
/// area fits into the signed 32-bit numbers of the interface. Else a line says why; nothing is allocated
/// first, since memory that is promised but not there ends the host's process.
bool framesAreUsable(const Log& log, const FrameSetup& setup);

}  // namespace brantel
