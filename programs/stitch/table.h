// What happened, as a short table for people.
#pragma once

#include <string>

#include "stitch/report.h"

namespace brantel::programs {

std::string table(const Tally& tally, const RunSummary& summary);

}  // namespace brantel::programs
