// One run of brantel-stitch.
#pragma once

#include "options.h"

namespace host {

/// Stitches as the options say. Returns the exit code 0 or 1; throws InputError and OutputError for what is
/// noticed before the first frame.
int run(const Options& options);

}  // namespace host
