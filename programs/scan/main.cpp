// brantel-scan: cuts a camera scan with known truth out of a picture.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "scan/generated_picture.h"
#include "scan/scan.h"
#include "system/files.h"
#include "system/run_program.h"

namespace brantel::programs {

namespace {

namespace fs = std::filesystem;

using Pair = std::pair<std::int32_t, std::int32_t>;

constexpr const char* truthName = "truth.csv";

struct Options {
    std::string picture;
    std::string folder;
    Pair generate{0, 0};
    Pair frame{640, 480};
    Pair step{0, 0};
    double overlap = 40;
    double drift = 0;
    double vignetting = 0;
    bool grey = false;
    bool quiet = false;
    ScanSettings scan;
};

cv::Size sizeOf(const Pair& pair) {
    return {pair.first, pair.second};
}

void describePicture(CLI::App& app, Options& options) {
    auto* input = app.add_option("picture", options.picture, "Picture to cut the scan out of");
    app.add_option("--generate", options.generate, "Make up a picture of this size instead")
        ->type_name("WIDTHxHEIGHT")
        ->delimiter('x')
        ->check(CLI::Range(1, 30000))
        ->excludes(input);
    app.add_option("-o,--output", options.folder,
                   "Folder for the frames and truth.csv; made if it is missing")
        ->required()
        ->type_name("FOLDER");
    app.add_flag("--grey", options.grey, "Frames with one channel");
    app.add_option("--seed", options.scan.seed, "Seed of everything random: walk, jitter, noise, picture")
        ->capture_default_str();
    app.add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
}

void describePath(CLI::App& app, Options& options) {
    app.add_option_function<std::string>(
           "--path",
           [&options](const std::string& path) {
               options.scan.path = path == "row"    ? ScanPath::row
                                   : path == "walk" ? ScanPath::walk
                                                    : ScanPath::serpentine;
           },
           "serpentine (default), row (one through the middle) or walk (at random)")
        ->type_name("PATH")
        ->check(CLI::IsMember({"serpentine", "row", "walk"}).description(""));
    app.add_option("--frame", options.frame, "Frame size in pixels, default 640x480")
        ->type_name("WIDTHxHEIGHT")
        ->delimiter('x')
        ->check(CLI::Range(1, 30000));
    auto* overlap = app.add_option("--overlap", options.overlap, "Shared part of neighbouring frames")
                        ->type_name("PERCENT")
                        ->check(CLI::Range(0, 99))
                        ->capture_default_str();
    app.add_option("--step", options.step, "Pixels between neighbours, instead of an overlap")
        ->type_name("X,Y")
        ->delimiter(',')
        ->check(CLI::Range(1, 30000))
        ->excludes(overlap);
    app.add_option("--frames", options.scan.frames, "At most so many frames (walk: 40 by default)");
    app.add_option("--jitter", options.scan.jitter, "Every position is off by up to this many pixels")
        ->check(CLI::Range(0, 1000));
}

void describeExposure(CLI::App& app, Options& options) {
    app.add_option("--noise", options.scan.noise, "Standard deviation of the noise in grey levels")
        ->check(CLI::Range(0.0, 255.0));
    app.add_option("--drift", options.drift, "Change of brightness from the first to the last frame")
        ->type_name("PERCENT")
        ->check(CLI::Range(-100.0, 1000.0));
    app.add_option("--vignetting", options.vignetting, "Loss of brightness in the frame's corners")
        ->type_name("PERCENT")
        ->check(CLI::Range(0.0, 100.0));
}

cv::Mat pictureFor(const Options& options) {
    const auto channels = options.grey ? Channels::grey : Channels::asStored;
    if (!options.picture.empty()) {
        cv::Mat picture = readPicture(fs::u8path(options.picture), channels);
        if (picture.empty()) throw InputError("cannot read " + options.picture + " as a picture");
        return picture;
    }
    if (options.generate.first == 0)
        throw InputError("no picture given; name one or use --generate WIDTHxHEIGHT");
    cv::Mat picture = generatePicture(sizeOf(options.generate), options.scan.seed);
    if (options.grey) cv::extractChannel(picture, picture, 1);
    return picture;
}

fs::path makeFolder(const std::string& name) {
    fs::path folder = fs::u8path(name);
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw OutputError("cannot make the folder " + name + ": " + error.message());
    // Frames of an earlier, longer scan would mix with the new ones.
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        if (isPictureName(entry.path()))
            throw InputError("the folder " + name + " holds pictures already; name an empty one");
    if (fs::exists(folder / truthName))
        throw InputError("the folder " + name + " holds a " + truthName + " already; name an empty one");
    return folder;
}

void writeScan(const Options& options) {
    const cv::Mat picture = pictureFor(options);
    const std::vector<cv::Point> plan = planScan(picture.size(), options.scan);
    const fs::path folder = makeFolder(options.folder);
    for (std::size_t k = 0; k < plan.size(); ++k)
        writePicture(folder / scanFrameName(k), cutFrame(picture, options.scan, plan, k));
    writeFile(folder / truthName, truthTable(plan));
    if (!options.quiet)
        std::printf("%zu frames of %d x %d pixels and truth.csv in %s\n", plan.size(),
                    options.scan.frame.width, options.scan.frame.height, options.folder.c_str());
}

int scan(int argc, char** argv) {
    CLI::App app("Cuts a camera scan out of a picture: numbered frames and truth.csv with their positions.",
                 "brantel-scan");
    app.allow_windows_style_options(false);  // "/x" is a path on every system
    Options options;
    app.set_version_flag("--version", "brantel-scan " BRANTEL_VERSION);
    describePicture(app, options);
    describePath(app, options);
    describeExposure(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    options.scan.frame = sizeOf(options.frame);
    options.scan.step = sizeOf(options.step);
    options.scan.overlap = options.overlap / 100;
    options.scan.drift = options.drift / 100;
    options.scan.vignetting = options.vignetting / 100;
    writeScan(options);
    return 0;
}

}  // namespace

}  // namespace brantel::programs

int main(int argc, char** argv) {
    return brantel::programs::runProgram("brantel-scan", argc, argv, brantel::programs::scan);
}
