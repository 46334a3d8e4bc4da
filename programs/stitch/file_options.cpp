// Where frames come from and where results go.
#include "frames/video.h"
#include "pictures/image_io.h"
#include "stitch/option_groups.h"
#include "stitch/option_values.h"

namespace brantel::programs {

namespace {

const CLI::Validator outputName(
    [](const std::string& name) {
        return isOutputName(name) ? "" : name + ": the name must end in " + outputNames;
    },
    "");

}  // namespace

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

}  // namespace brantel::programs
