// The CUDA backend's face.
#pragma once

#include <memory>

#include "engine/engine.h"

namespace brantel {

/// An engine whose pixel work is done by an NVIDIA device, without a mosaic yet. Its lines go to the sink. Where the
/// build has no CUDA compiler its initialisation finds no device.
std::unique_ptr<Engine> makeCudaEngine(LogSink& sink);

}  // namespace brantel
