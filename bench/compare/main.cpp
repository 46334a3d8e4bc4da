// brantel-compare: the library beside its reference and what a user would otherwise write on OpenCV,
// over the same scan in one run.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <thread>

#include "compare/contenders.h"
#include "compare/report.h"
#include "compare/special.h"
#include "compare/straight.h"

namespace {

using namespace brantel::bench;

struct Options {
    ScanSetup scan;
    std::string size = "1280x960";
    std::string library = BRANTEL_LIBRARY;
    std::string json = "brantel-compare.json";
    std::vector<std::string> only;
    int repeat = 3;
    int longCalls = 500;
    int pause = 33;
    std::vector<int> lengths{250, 1000};
};

std::vector<Contender> contendersOf(const Options& options) {
    const std::string& file = options.library;
    return {
        {"brantel", [file](const Scan& scan) { return runLibrary(scan, file, 0); }},
        {"brantel-motion", [file](const Scan& scan) { return runLibrary(scan, file, 1); }},
        {"brantel-session", [](const Scan& scan) { return runSession(scan); }},
        {"reference", [](const Scan& scan) { return runReference(scan, 0); }},
        {"reference-motion", [](const Scan& scan) { return runReference(scan, 1); }},
        {"copy-frame", [](const Scan& scan) { return runCopy(scan, false); }},
        {"copy-frame-and-window", [](const Scan& scan) { return runCopy(scan, true); }},
        {"orb", [](const Scan& scan) { return runOrb(scan, false); }},
        {"orb-feather", [](const Scan& scan) { return runOrb(scan, true); }},
        {"phase", [](const Scan& scan) { return runPhase(scan); }},
        {"stitcher", [](const Scan& scan) { return runStitcher(scan); }},
    };
}

bool wanted(const Options& options, const std::string& name) {
    return options.only.empty() ||
           std::find(options.only.begin(), options.only.end(), name) != options.only.end();
}

/// A new process maps the pages that it inherits when it first reads them. A camera's buffers are mapped long
/// before a frame comes.
void mapFrames(const Scan& scan) {
    constexpr std::size_t page = 4096;
    for (const cv::Mat& frame : scan.frames)
        for (std::size_t at = 0; at < frame.total() * frame.elemSize(); at += page)
            static_cast<void>(*const_cast<const volatile uchar*>(frame.data + at));
}

/// Every contender once per round, so that a slow minute of the machine is everybody's.
std::vector<Row> runRounds(const Options& options, const Scan& scan) {
    std::vector<Row> rows;
    for (int round = 0; round < options.repeat; ++round) {
        std::size_t place = 0;
        for (const Contender& contender : contendersOf(options)) {
            if (!wanted(options, contender.name)) continue;
            if (round == 0) rows.push_back({contender.name, {}});
            std::fprintf(stderr, "round %d: %s\n", round + 1, contender.name.c_str());
            rows[place++].rounds.push_back(runApart([&] {
                mapFrames(scan);
                return contender.run(scan);
            }));
        }
    }
    return rows;
}

/// Measurements besides the scan: name, what it is, and the two series whose ratio counts.
struct Special {
    const char* name;
    const char* title;
    std::function<Outcome(const Options&)> run;
    const char* of = nullptr;
    const char* against = nullptr;
};

std::vector<Special> specials() {
    return {{"unchanged", "Frames that are not merged",
             [](const Options& o) { return runUnchanged(o.scan, o.library); }, "not merged, same template",
             "merged"},
            {"long", "A long stream",
             [](const Options& o) { return runLong(o.scan, o.library, o.longCalls); }, "late", "early"},
            {"growth", "Growth of a 1 GB canvas", [](const Options&) { return runGrowth(); }, "growth",
             "copy into fresh memory"},
            {"paced", "Merged frames at a camera's pace",
             [](const Options& o) { return runPaced(o.scan, o.library, o.pause); }, "the host asleep",
             "back to back"},
            {"hand-off", "An empty job to a worker and back", [](const Options&) { return runHandOff(); }}};
}

nlohmann::json runSpecials(const Options& options) {
    nlohmann::json all = nlohmann::json::object();
    for (const Special& special : specials()) {
        if (!wanted(options, special.name)) continue;
        Outcome outcome;
        for (int round = 0; round < options.repeat; ++round) {
            const Outcome more = runApart([&] { return special.run(options); });
            for (const auto& [series, ms] : more.stages)
                outcome.stages[series].insert(outcome.stages[series].end(), ms.begin(), ms.end());
        }
        std::printf("\n%s, median ms:\n", special.title);
        nlohmann::json& entry = all[special.name];
        for (const auto& [series, ms] : outcome.stages) {
            entry[series] = median(ms);
            std::printf("  %-34s %9.4f\n", series.c_str(), median(ms));
        }
        if (special.of == nullptr) continue;
        for (const std::string& clock : {std::string(), cpuSeries}) {
            const double ratio = median(outcome.stages.at(special.of + clock)) /
                                 median(outcome.stages.at(special.against + clock));
            entry["ratio" + clock] = ratio;
            std::printf("  %s : %s%s = %.3f\n", special.of, special.against, clock.c_str(), ratio);
        }
    }
    return all;
}

/// The cost of a frame while the mosaic grows, for both lengths.
nlohmann::json runStraight(const Options& options) {
    nlohmann::json all = nlohmann::json::array();
    const ScanSetup& scan = options.scan;
    std::printf("\nStraight scans, %d x %d x %d, ms per merged frame:\n", scan.cols, scan.rows,
                scan.channels);
    std::printf(
        "| course         | frames |   mean | 99 %% |  worst | peak MiB | pages ms | mean : inside |\n");
    std::printf(
        "|----------------|-------:|-------:|-------:|-------:|---------:|---------:|--------------:|\n");
    for (const int length : options.lengths) {
        double inside = 0;
        for (const Course& course : courses()) {
            const Outcome outcome =
                runApart([&] { return runCourse(scan, options.library, course, length); });
            std::vector<double> ms = outcome.ms;
            std::sort(ms.begin(), ms.end());
            const double mean = std::accumulate(ms.begin(), ms.end(), 0.0) / static_cast<double>(ms.size());
            if (course.inside()) inside = mean;
            const double late = ms[ms.size() * 99 / 100];
            const double pages = runApart([&] { return touchFreshPages(outcome.peakMiB); }).allMs / length;
            std::printf("| %-14s | %6d | %6.2f | %6.2f | %6.1f | %8.0f | %8.2f | %13.2f |\n", course.name,
                        length, mean, late, ms.back(), outcome.peakMiB, pages, mean / inside);
            all.push_back({{"course", course.name},
                           {"frames", length},
                           {"mean", mean},
                           {"p99", late},
                           {"worst", ms.back()},
                           {"peakMiB", outcome.peakMiB},
                           {"pages", pages}});
        }
    }
    return all;
}

/// The contenders that are wanted, over one scan.
nlohmann::json runScan(const Options& options) {
    const Scan scan = makeScan(options.scan);
    const ScanSetup& setup = scan.setup;
    std::printf("\n%zu frames of %d x %d x %d, overlap %.0f %%, noise sigma %.1f, from %s\n\n",
                scan.frames.size(), setup.cols, setup.rows, setup.channels, setup.overlap * 100, setup.noise,
                scan.source.c_str());
    const std::vector<Row> rows = runRounds(options, scan);
    printRows(scan, rows);
    for (const Row& row : rows) printStages(row);
    return toJson(scan, rows);
}

/// The library, its reference and the copies with frames of 5 megapixels.
Options largeFrames(Options options) {
    options.scan.cols = 2448;
    options.scan.rows = 2048;
    options.scan.frames = std::min(options.scan.frames, 9);
    options.only = {"brantel", "reference", "copy-frame", "copy-frame-and-window"};
    return options;
}

void run(const Options& options) {
    std::printf("%s, %u threads; OpenCV %s with its default threads (%d processors)\n",
                processorName().c_str(), std::thread::hardware_concurrency(), CV_VERSION,
                cv::getNumberOfCPUs());
    nlohmann::json all{{"processor", processorName()}, {"opencv", CV_VERSION}};
    const std::vector<Contender> contenders = contendersOf(options);
    if (std::any_of(contenders.begin(), contenders.end(),
                    [&](const Contender& contender) { return wanted(options, contender.name); }))
        all["scan"] = runScan(options);
    if (wanted(options, "large")) all["large"] = runScan(largeFrames(options));
    if (wanted(options, "straight")) all["straight"] = runStraight(options);
    all["special"] = runSpecials(options);
    std::ofstream(options.json) << all.dump(2) << '\n';
}

std::vector<std::string> allNames() {
    std::vector<std::string> names{"large", "straight"};
    const Options defaults;
    for (const Contender& contender : contendersOf(defaults)) names.push_back(contender.name);
    for (const Special& special : specials()) names.emplace_back(special.name);
    return names;
}

int parseAndRun(int argc, char** argv) {
    Options options;
    CLI::App app{"Compares Brantel with OpenCV over one scan"};
    app.add_option("--picture", options.scan.picture, "photograph to cut the scan from (default: generated)");
    app.add_option("--frames", options.scan.frames, "frames of the scan")->check(CLI::Range(2, 10000));
    app.add_option("--size", options.size, "frame size, COLUMNSxROWS");
    app.add_option("--channels", options.scan.channels)->check(CLI::IsMember({1, 3}));
    app.add_option("--overlap", options.scan.overlap)->check(CLI::Range(0.1, 0.9));
    app.add_option("--noise", options.scan.noise, "sigma of the camera noise");
    app.add_option("--repeat", options.repeat, "rounds over all contenders")->check(CLI::Range(1, 1000));
    app.add_option("--only", options.only, "what to measure")
        ->delimiter(',')
        ->check(CLI::IsMember(allNames()));
    app.add_option("--calls", options.longCalls, "calls of the long stream")->check(CLI::Range(20, 1000000));
    app.add_option("--pace", options.pause, "milliseconds that the paced host sleeps")
        ->check(CLI::Range(0, 10000));
    app.add_option("--lengths", options.lengths, "frames of the straight scans")
        ->delimiter(',')
        ->check(CLI::Range(3, 1000000));
    app.add_option("--library", options.library, "the shared library to measure");
    app.add_option("--json", options.json, "file to write the numbers to");
    CLI11_PARSE(app, argc, argv);
    if (std::sscanf(options.size.c_str(), "%dx%d", &options.scan.cols, &options.scan.rows) != 2 ||
        options.scan.cols < 1 || options.scan.rows < 1)
        throw std::runtime_error("--size is COLUMNSxROWS");
    options.library = std::filesystem::absolute(options.library);  // contenders change the directory
    cv::setNumThreads(0);                                          // no threads before forking
    run(options);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return parseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
