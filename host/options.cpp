#include "options.h"

#include <CLI/CLI.hpp>

namespace host {

namespace {

using Pair = std::pair<std::int32_t, std::int32_t>;

const CLI::Validator outputName(
    [](const std::string& name) {
        return isOutputName(name) ? "" : name + ": the name must end in " + outputNames;
    },
    "");

void describeInput(CLI::App& app, Options& options) {
    app.add_option("input", options.inputs,
                   "Frames in the order of their taking: picture files, a folder (its pictures in natural "
                   "order, 2 before 10) or one video file")
        ->required()
        ->type_name("FILE|FOLDER");
    auto* grey = app.add_flag_callback(
        "--grey", [&] { options.channels = Channels::grey; }, "Stitch in grey (1 channel)");
    app.add_flag_callback(
           "--colour,--color", [&] { options.channels = Channels::colour; },
           "Stitch in colour (3 channels); default: as the first picture is stored")
        ->excludes(grey);
}

void describeOutput(CLI::App& app, Options& options) {
    app.add_option(
           "-o,--output", options.output,
           "The mosaic, cut to its occupied part: .png, .tif or .jpg. Further mosaics of the same run "
           "are named mosaic-2.png and so on")
        ->type_name("FILE")
        ->check(outputName)
        ->capture_default_str();
    app.add_option("--overview", options.overview,
                   "The mosaic reduced to at most 2000 pixels, with every frame's outline and the path on it")
        ->type_name("FILE")
        ->check(outputName);
    app.add_option("--report", options.report,
                   "What became of every frame: one JSON object per line and frame, the last line a summary. "
                   "- is standard output")
        ->type_name("FILE");
    app.add_option("--library-log", options.libraryLog,
                   "Where the library's own lines go; discarded by default")
        ->type_name("FILE");
    app.add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
}

void describeLibrary(CLI::App& app, Options& options) {
    SessionSettings& session = options.session;
    app.add_option("--density", session.densityLevel,
                   "Corners looked for per frame: 150 for 0, 400 for 8, 650 for 16 (31.25 a step). More find "
                   "the offset in thinner or fainter overlaps; the time for matching grows with the square")
        ->type_name("LEVEL")
        ->check(CLI::Range(-4, 1000))
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--mode",
           [&session](const std::string& mode) {
               session.mainMode = mode == "motion" || mode == "1" ? 1 : 0;
           },
           "What a frame must pass: brightness (0, default; compares the overlap, until the first frame has "
           "passed) or motion (1; compares whole frames)")
        ->type_name("MODE")
        ->check(CLI::IsMember({"brightness", "motion", "0", "1"}).description(""));
    app.add_flag_callback(
        "--static", [&session] { session.staticFlag = 1; },
        "Strict thresholds: 40 and 30 grey levels for brightness, 5 for motion (else 128 and 255)");
    app.add_option("--scale", session.scale,
                   "Reduction of the incoming frames by the library; anything but 1 leaves part of every "
                   "frame black")
        ->type_name("FACTOR")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
}

void describeTracking(CLI::App& app, Options& options, Pair& limit, Pair& expected) {
    app.add_option("--limit", limit,
                   "A mosaic ends, and the next one begins, when its canvas has A x B pixels; default "
                   "20000,20000. A new canvas has 6000 x 6000")
        ->type_name("A,B")
        ->delimiter(',');
    auto* step = app.add_option("--expected", expected,
                                "The camera moves by about this much from frame to frame (pixels, right and "
                                "down are positive): corners are looked for only where frames overlap then")
                     ->type_name("DX,DY")
                     ->delimiter(',');
    app.add_option(
           "--positions", options.positions,
           "Stage positions: a CSV file with the columns file, x, y (top-left corner in pixels; "
           "without file: in the order of the frames). Where a frame cannot be registered it is tried "
           "again with the shift that follows from them")
        ->type_name("FILE.csv")
        ->excludes(step);
    app.add_option_function<std::string>(
           "--on-lost",
           [&options](const std::string& way) {
               options.onLost = way == "stop"      ? OnLost::stop
                                : way == "restart" ? OnLost::restart
                                                   : OnLost::skip;
           },
           "When a frame cannot be registered: skip it (default), restart (save the mosaic and begin the "
           "next "
           "with this frame) or stop")
        ->type_name("WAY")
        ->check(CLI::IsMember({"skip", "restart", "stop"}).description(""));
}

const char* const footer =
    "Exit codes: 0 done, 1 nothing placed or a result not written, 2 wrong usage or input.\n"
    "Ctrl-C once: the frame at hand is finished, what there is is saved.";

}  // namespace

std::optional<int> parseCommandLine(int argc, char** argv, Options& options) {
    CLI::App app("Stitches overlapping camera frames into one large picture.", "brantel-stitch");
    app.allow_windows_style_options(false);  // "/x" is a path on every system
    Pair limit{options.session.limitA, options.session.limitB};
    Pair expected;
    app.set_version_flag("--version", "brantel-stitch " BRANTEL_VERSION);
    app.footer(footer);
    describeInput(app, options);
    describeOutput(app, options);
    describeLibrary(app, options);
    describeTracking(app, options, limit, expected);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    options.session.limitA = limit.first;
    options.session.limitB = limit.second;
    if (app.count("--expected") > 0) options.expected = Shift(expected.first, expected.second);
    return std::nullopt;
}

}  // namespace host
