// The command line of brantel-render.
#pragma once

#include <optional>
#include <string>

#include "picture/bands.h"
#include "scan_solution.h"

namespace brantel::programs {

struct RenderOptions {
    std::string report;
    std::string output;
    std::string positionsOut;
    render::FlatFieldChoice flatField = render::FlatFieldChoice::automatic;
    std::string flatFieldFile;  ///< if given
    bool gains = true;
    render::Blend blend = render::Blend::feather;
    double pixelSize = 0;  ///< micrometres; 0: the report's
    int quality = 90;
    bool keepGoing = false;
    bool quiet = false;
};

/// Reads the command line. When the program is to end at once (help, version, wrong usage), prints what there is to say and
/// gives the exit code.
std::optional<int> parseRenderCommandLine(int argc, char** argv, RenderOptions& options);

}  // namespace brantel::programs
