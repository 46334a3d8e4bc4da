// The OpenCL backend's face. initJoint brings it up as a check only.
#pragma once

#include <memory>

#include "engine/engine.h"

namespace brantel {

/// An engine whose pixel work is done by an AMD or NVIDIA device through OpenCL, without a mosaic yet. Its
/// lines go to the sink.
std::unique_ptr<Engine> makeOpenclEngine(LogSink& sink);

}  // namespace brantel
