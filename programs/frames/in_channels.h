// Frames of one number of channels.
#pragma once

#include <memory>

#include "frames/frame.h"
#include "pictures/channels.h"

namespace brantel::programs {

/// The frames of another source with the wanted channels; with Channels::asStored as they come.
std::unique_ptr<FrameSource> inChannels(std::unique_ptr<FrameSource> source, Channels channels);

}  // namespace brantel::programs
