// That a run overwrites nothing it was not told to.
#pragma once

#include <set>
#include <string>

#include "stitch/options.h"

namespace brantel::programs {

/// Compares everything that is read with everything that will be written, and sees whether that can be
/// written. Throws InputError or OutputError.
/// @return the identities of all these files
std::set<std::string> requireSafe(const Options& options, const Inputs& inputs);

}  // namespace brantel::programs
