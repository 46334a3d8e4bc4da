#include "stitch/options.h"

#include <CLI/CLI.hpp>
#include <tuple>

#include "frames/video.h"
#include "pictures/image_io.h"
#include "stitch/option_values.h"

namespace brantel::programs {

namespace {

const CLI::Validator outputName(
    [](const std::string& name) {
        return isOutputName(name) ? "" : name + ": the name must end in " + outputNames;
    },
    "");

/// An option whose text a function turns into a value, or into nothing when it is wrong.
template <class Parse, class Value>
CLI::Option* addParsed(CLI::App& app, const char* name, Value& value, Parse parse, const char* example,
                       const char* description) {
    return app.add_option_function<std::string>(
        name,
        [&value, parse, name, example](const std::string& text) {
            const auto parsed = parse(text);
            if (!parsed)
                throw CLI::ValidationError(name, text + " is not understood; for instance " + example);
            value = *parsed;
        },
        description);
}

void describeInput(CLI::App& app, Options& options) {
    SourceSettings& source = options.source;
    app.add_option("input", source.inputs,
                   "Frames in the order of their taking: picture files (" + std::string(readableKinds) +
                       "), folders (their pictures in natural order, 2 before 10)" + videoInputs)
        ->type_name("FILE|FOLDER");
    auto* watch =
        app.add_option("--watch", source.watched,
                       "A folder to which pictures are added: those that are there, then new ones as "
                       "they are complete, until Ctrl-C")
            ->type_name("FOLDER");
    app.add_option("--until-idle", source.idleSeconds, "Watching ends after so long without anything new")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 1e7).description(""))
        ->needs(watch);
    addParsed(
        app, "--raw", source.raw, parseRaw, "640x480x3",
        "Frames on standard input, of this size: 8 bits, 1 channel or 3 (blue, green, red), nothing between "
        "them; for instance 640x480x3")
        ->type_name("WIDTHxHEIGHTxCHANNELS");
    app.add_option("--keep-frames", source.keptFolder,
                   "A folder to which the frames of a video, a camera or raw input are written as PNG files")
        ->type_name("FOLDER");
}

void describeReading(CLI::App& app, Options& options) {
    ReadingSettings& reading = options.source.reading;
    auto* grey = app.add_flag_callback(
        "--grey", [&] { reading.channels = Channels::grey; }, "Stitch in grey (1 channel)");
    app.add_flag_callback(
           "--colour,--color", [&] { reading.channels = Channels::colour; },
           "Stitch in colour (3 channels); default: as the first picture is stored")
        ->excludes(grey);
    addParsed(
        app, "--range", reading.range, parseRange, "300,4095",
        "The stored values that become the darkest and the brightest of 8 bits: LOW,HIGH, auto (by the "
        "values of the first frames) or full (all that the depth can hold). Default: auto for pictures of "
        "more than 8 bits")
        ->type_name("RANGE");
    addParsed(app, "--pages", reading.pages, parsePages, "1,3",
              "Of stacks only every STEP-th page from FIRST on, at most COUNT; default: all")
        ->type_name("FIRST[,STEP[,COUNT]]");
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
    app.add_option(
           "--report", options.report,
           "What became of every frame: one JSON object per line and event, written while it happens, "
           "the last line a summary. - is standard output")
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
    app.add_option_function<std::string>(
           "--limit",
           [&session](const std::string& text) {
               const auto limit = parseLimit(text);
               if (!limit)
                   throw CLI::ValidationError("--limit",
                                              text +
                                                  " is not understood; it takes two numbers with a "
                                                  "product below 2147483648, such as 20000,20000");
               std::tie(session.limitA, session.limitB) = *limit;
           },
           "A mosaic ends, and the next one begins with its last frame, when its canvas has A x B pixels; "
           "default "
           "20000,20000. A new canvas has 6000 x 6000")
        ->type_name("A,B");
}

void describeExpectation(CLI::App& app, Options& options) {
    auto* step =
        addParsed(app, "--expected", options.expected, parseShift, "-120,4",
                  "The camera moves by about this much from frame to frame (pixels, right and down are "
                  "positive): corners are looked for only where frames overlap then")
            ->type_name("DX,DY");
    auto* positions =
        app.add_option("--positions", options.positions,
                       "Stage positions: a CSV file with the columns file, x, y (top-left corner in pixels; "
                       "without file: in the order of the frames) or file, x_um, y_um (micrometres). Where a "
                       "frame cannot be registered it is tried again with the shift that follows from them")
            ->type_name("FILE.csv")
            ->excludes(step);
    app.add_option("--pixel-size", options.pixelSize, "How large a pixel is, for positions in micrometres")
        ->type_name("UM")
        ->check(CLI::Range(1e-6, 1e6).description(""))
        ->needs(positions);
    addParsed(app, "--grid", options.grid, parseGrid, "5x3,snake,overlap=20",
              "The frames were taken in rows and columns, row by row: serves as positions. With snake every "
              "second row runs back; the overlap is in percent, 20 unless given")
        ->type_name("COLUMNSxROWS[,snake][,overlap=PERCENT]")
        ->excludes(step)
        ->excludes(positions);
    app.add_flag("--flip-x", options.flipX, "The x axis of positions or grid points to the left");
    app.add_flag("--flip-y", options.flipY, "The y axis of positions or grid points up");
    app.add_option_function<std::string>(
           "--on-lost",
           [&options](const std::string& way) {
               options.onLost = way == "stop"      ? OnLost::stop
                                : way == "restart" ? OnLost::restart
                                                   : OnLost::skip;
           },
           "When a frame cannot be registered: skip it (default), restart (save the mosaic and begin the "
           "next with this frame) or stop")
        ->type_name("WAY")
        ->check(CLI::IsMember({"skip", "restart", "stop"}).description(""));
}

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
    const bool flips = options.flipX || options.flipY;
    if (flips && options.positions.empty() && !options.grid)
        throw CLI::ValidationError("--flip", "axes are those of --positions or --grid, and neither is given");
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
    describeLibrary(app, options);
    describeExpectation(app, options);
    try {
        app.parse(argc, argv);
        checkTogether(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return std::nullopt;
}

}  // namespace brantel::programs
