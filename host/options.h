// The command line of brantel-stitch.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image_io.h"
#include "stitcher.h"

namespace host {

struct Options {
    std::vector<std::string> inputs;
    Channels channels = Channels::asStored;
    std::string output = "mosaic.png";
    std::string overview;
    std::string report;
    std::string libraryLog;
    SessionSettings session;
    OnLost onLost = OnLost::skip;
    std::optional<Shift> expected;
    std::string positions;
    bool quiet = false;
};

/// Reads the command line. When the program is to end at once (help, version, wrong usage), prints what there
/// is to say and gives the exit code.
std::optional<int> parseCommandLine(int argc, char** argv, Options& options);

}  // namespace host
