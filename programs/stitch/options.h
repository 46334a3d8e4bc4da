// The command line of brantel-stitch.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frames/source.h"
#include "stitch/stitcher.h"

namespace brantel::programs {

struct Options {
    SourceSettings source;
    std::string output = "mosaic.png";
    std::string overview;
    std::string report;
    std::string libraryLog;
    SessionSettings session;
    OnLost onLost = OnLost::skip;
    std::optional<Shift> expected;
    std::string positions;
    double pixelSize = 0;  ///< micrometres; 0: not given
    std::optional<Grid> grid;
    bool flipX = false;
    bool flipY = false;
    bool quiet = false;
};

/// Reads the command line. When the program is to end at once (help, version, wrong usage), prints what there
/// is to say and gives the exit code.
std::optional<int> parseCommandLine(int argc, char** argv, Options& options);

}  // namespace brantel::programs
