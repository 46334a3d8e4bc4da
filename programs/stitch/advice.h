// What a user may try next.
#pragma once

#include <string>
#include <vector>

#include "stitch/options.h"
#include "stitch/tally.h"

namespace brantel::programs {

/// Why frames were refused, with what may help by the options that were not given yet; then what the run as a
/// whole suggests: axes that point the other way, a range that is too narrow, positions that belong to no frame.
std::vector<std::string> hintsFor(const Tally& tally, const Options& options);

/// That there is no mosaic.
std::string nothingPlaced(const Tally& tally);

}  // namespace brantel::programs
