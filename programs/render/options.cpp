#include "render/options.h"

#include <CLI/CLI.hpp>

#include "picture/picture_file.h"

namespace brantel::programs {

namespace {

namespace fs = std::filesystem;

const char* const footer =
    "Exit codes: 0 done, 1 interrupted or a result not written as asked, 2 wrong usage or input.\n"
    "Ctrl-C: the picture that is being written is given up, those before it stay.";

const CLI::Validator pictureName(
    [](const std::string& name) {
        return render::formatOf(fs::u8path(name)) ? std::string()
                                                  : name + ": the name must end in " + render::formatNames;
    },
    "");

void describeFiles(CLI::App& app, RenderOptions& options) {
    app.add_option("report", options.report, "The report of the run: brantel-stitch --report scan.jsonl")
        ->required()
        ->type_name("REPORT");
    app.add_option("-o,--output", options.output,
                   "The picture: " + std::string(render::formatNames) +
                       ". Maps that nothing joins become further pictures, scan-2.ome.tif and so on")
        ->required()
        ->type_name("FILE")
        ->check(pictureName);
    app.add_option("--positions-out", options.positionsOut,
                   "A table of the solved positions, which brantel-stitch --positions reads")
        ->type_name("FILE.csv");
}

void describeLight(CLI::App& app, RenderOptions& options) {
    app.add_option_function<std::string>(
           "--flat-field",
           [&options](const std::string& text) {
               using Choice = render::FlatFieldChoice;
               options.flatField = text == "auto"   ? Choice::automatic
                                   : text == "none" ? Choice::none
                                                    : Choice::given;
               options.flatFieldFile = options.flatField == Choice::given ? text : "";
           },
           "How bright the same thing is in each place of a frame: auto (default; found out of the frames), "
           "a "
           "picture of even light, or none")
        ->type_name("FILE|auto|none");
    app.add_option_function<std::string>(
           "--gain", [&options](const std::string& way) { options.gains = way == "auto"; },
           "How bright each frame is: auto (default; found where frames overlap) or none")
        ->type_name("WAY")
        ->check(CLI::IsMember({"auto", "none"}).description(""));
}

void describePicture(CLI::App& app, RenderOptions& options) {
    app.add_option_function<std::string>(
           "--blend",
           [&options](const std::string& way) {
               options.blend = way == "none" ? render::Blend::none : render::Blend::feather;
           },
           "Where frames overlap: feather (default; from one into the other) or none (each pixel from one "
           "frame)")
        ->type_name("WAY")
        ->check(CLI::IsMember({"feather", "none"}).description(""));
    app.add_option("--pixel-size", options.pixelSize,
                   "How large a pixel is, for the picture's file; default: as brantel-stitch was told")
        ->type_name("UM")
        ->check(CLI::Range(1e-6, 1e6).description(""));
    app.add_option("--quality", options.quality, "Of JPEG, in files and in tiles: 1 to 100")
        ->type_name("NUMBER")
        ->check(CLI::Range(1, 100).description(""))
        ->capture_default_str();
}

}  // namespace

std::optional<int> parseRenderCommandLine(int argc, char** argv, RenderOptions& options) {
    CLI::App app(
        "Renders a scan that brantel-stitch has reported on, at full depth, all positions solved at once.",
        "brantel-render");
    app.set_version_flag("--version", "brantel-render " BRANTEL_VERSION);
    app.footer(footer);
    describeFiles(app, options);
    describeLight(app, options);
    describePicture(app, options);
    app.add_flag(
        "--keep-going", options.keepGoing,
        "Render what there is when frames are missing, changed or contradictory, or the report is cut off");
    app.add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return std::nullopt;
}

}  // namespace brantel::programs
