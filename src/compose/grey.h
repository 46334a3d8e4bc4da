// Grey images of frames.
#pragma once

#include <cstdint>

#include "common/buffer.h"
#include "common/types.h"
#include "common/worker_pair.h"

namespace brantel {

/// Grey image of a packed frame, with room for a row behind it that is zeroed: descriptors read it. Idle
/// workers help; may be null.
void makeGrey(const std::uint8_t* frame, const ImageDesc& desc, Buffer<std::uint8_t>& grey,
              WorkerPair* workers);

}  // namespace brantel
