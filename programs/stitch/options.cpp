#include "stitch/options.h"

#include <CLI/CLI.hpp>

#include "stitch/option_groups.h"

namespace brantel::programs {

namespace {

const char* const footer =
    "Exit codes: 0 done, 1 nothing placed or a result not written as asked, 2 wrong usage or input.\n"
    "Ctrl-C once: the frame at hand is finished, what there is is saved.";

/// What CLI11 cannot tell by single options. Throws CLI::ValidationError.
void checkTogether(const Options& options) {
    const SourceSettings& source = options.source;
    const int ways =
        (source.inputs.empty() ? 0 : 1) + (source.watched.empty() ? 0 : 1) + (source.raw.width > 0 ? 1 : 0);
    if (ways == 0)
        throw CLI::ValidationError("input",
                                   "no frames are given; name pictures, a folder or a video, or use "
                                   "--watch or --raw");
    if (ways > 1)
        throw CLI::ValidationError("input",
                                   "frames come from files, from --watch or from --raw, one of them only");
    if (!source.keptFolder.empty() && !source.watched.empty())
        throw CLI::ValidationError("--keep-frames", "watched pictures are files already");
    const bool positions = !options.positions.empty() || options.grid;
    if ((options.flipX || options.flipY) && !positions)
        throw CLI::ValidationError("--flip", "axes are those of --positions or --grid, and neither is given");
    if (options.session.trustPositions && !positions)
        throw CLI::ValidationError("--trust-positions", "neither --positions nor --grid is given");
    if (options.session.trustPositions && !options.session.search)
        throw CLI::ValidationError("--trust-positions", "with --no-search pictures alone decide");
}

}  // namespace

std::optional<int> parseCommandLine(int argc, char** argv, Options& options) {
    CLI::App app("Stitches overlapping camera frames into one large picture.", "brantel-stitch");
    app.allow_windows_style_options(false);  // "/x" is a path on every system
    app.set_version_flag("--version", "brantel-stitch " BRANTEL_VERSION);
    app.footer(footer);
    describeInput(app, options);
    describeReading(app, options);
    describeOutput(app, options);
    describeTrack(app, options);
    describeTests(app, options);
    describePositions(app, options);
    try {
        app.parse(argc, argv);
        checkTogether(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return std::nullopt;
}

}  // namespace brantel::programs
