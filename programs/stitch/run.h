// One run of brantel-stitch.
#pragma once

#include "stitch/options.h"

namespace brantel::programs {

/// Stitches as the options say. Returns the exit code 0 or 1; throws InputError and OutputError for what is
/// noticed before the first frame.
int run(const Options& options);

}  // namespace brantel::programs
