// The process's own log: standard output and the debugger.
#pragma once

#include "common/log.h"

namespace brantel {

/// Stream lines go to standard output, which is flushed after each, debugger lines to the system's debugger.
LogSink& processLogSink();

}  // namespace brantel
