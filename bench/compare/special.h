// Measurements besides the scan. Each leaves its series in Outcome::stages, in milliseconds.
#pragma once

#include "compare/outcome.h"

namespace brantel::bench {

/// Behind a series' name: the same in processor time.
inline const std::string cpuSeries = ", CPU";

/// Frames that are merged, and frames that shift too little to be: the first of those after a merged one
/// meets a new template, the second the same one again.
Outcome runUnchanged(const ScanSetup& setup, const std::string& library);

/// calls frames round and round over four places, without growth: what the early and the late ones cost.
Outcome runLong(const ScanSetup& setup, const std::string& library, int calls);

/// Growth of a canvas of 1 GB, and copies of the rectangle of it that is occupied: into fresh memory, which
/// growth cannot do without, and into memory that has been touched.
Outcome runGrowth();

/// Merged frames back to back, with a host that sleeps so many milliseconds before each, and with one that reads 64 MB.
Outcome runPaced(const ScanSetup& setup, const std::string& library, int pause);

/// Two empty jobs, one of them handed to a worker and waited for.
Outcome runHandOff();

}  // namespace brantel::bench
