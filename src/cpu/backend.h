// The CPU backend's face.
#pragma once

#include <memory>

#include "engine/engine.h"

namespace brantel {

/// An engine that does everything on the processor, without a mosaic yet. Its lines go to the sink.
std::unique_ptr<Engine> makeCpuEngine(LogSink& sink);

}  // namespace brantel
