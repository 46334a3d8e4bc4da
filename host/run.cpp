#include "run.h"

#include <chrono>
#include <csignal>

#include "files.h"
#include "overview.h"
#include "progress.h"
#include "report.h"

namespace host {

namespace {

namespace fs = std::filesystem;

const std::string standardOutput = "-";  // as the name of the report

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int) {
    interrupted = 1;
    std::signal(SIGINT, SIG_DFL);  // the second Ctrl-C ends the program at once
}

/// mosaic.png for 1, mosaic-2.png for 2.
fs::path numbered(const fs::path& path, std::int32_t number) {
    if (number == 1) return path;
    fs::path name = path.stem();
    name += "-" + std::to_string(number);
    name += path.extension();
    return path.parent_path() / name;
}

Expectation expectationFrom(const Options& options) {
    if (options.expected) return Expectation(*options.expected);
    if (!options.positions.empty()) return Expectation(Positions::read(fs::u8path(options.positions)));
    return {};
}

/// Writes results. The first failure is told and remembered; the others are still tried.
class Results {
  public:
    explicit Results(const Options& options) : options_(options) {
        for (const std::string* file : {&options.output, &options.overview, &options.report})
            if (!file->empty() && *file != standardOutput) requireWritable(fs::u8path(*file));
    }

    void save(const FinishedMosaic& mosaic, RunSummary& summary) {
        const fs::path file = numbered(fs::u8path(options_.output), mosaic.number);
        attempt([&] {
            writePicture(file, mosaic.picture);
            summary.mosaics.push_back({file.u8string(), mosaic.picture.size(), mosaic.path.size()});
        });
        if (options_.overview.empty()) return;
        attempt([&] {
            writePicture(numbered(fs::u8path(options_.overview), mosaic.number), overviewOf(mosaic));
        });
    }

    void saveReport(const std::string& text, std::FILE* out) {
        if (options_.report == standardOutput) {
            if (std::fputs(text.c_str(), out) < 0 || std::fflush(out) != 0) failed_ = true;
        } else if (!options_.report.empty()) {
            attempt([&] { writeFile(fs::u8path(options_.report), text); });
        }
    }

    bool failed() const { return failed_; }

  private:
    template <class Write>
    void attempt(Write&& write) {
        try {
            write();
        } catch (const OutputError& error) {
            std::fprintf(stderr, "brantel-stitch: %s\n", error.what());
            failed_ = true;
        }
    }

    const Options& options_;
    bool failed_ = false;
};

/// Names the first frame that something could be done about.
void advise(const std::vector<FrameReport>& reports) {
    for (const FrameReport& frame : reports) {
        if (frame.placed || *adviceFor(frame.reason) == '\0') continue;
        std::fprintf(stderr, "brantel-stitch: %s: %s: %s\n", frame.name.c_str(), nameOf(frame.reason),
                     adviceFor(frame.reason));
        return;
    }
}

void tellEnd(const Stitcher& stitcher, const RunSummary& summary) {
    const std::vector<FrameReport>& reports = stitcher.reports();
    if (summary.interrupted)
        std::fprintf(stderr, "brantel-stitch: interrupted after %zu frames; what there is has been saved\n",
                     reports.size());
    if (summary.stopped)
        std::fprintf(stderr, "brantel-stitch: stopped at %s: %s (--on-lost stop)\n",
                     reports.back().name.c_str(), nameOf(reports.back().reason));
    if (stitcher.placed() == 0)
        std::fprintf(stderr,
                     "brantel-stitch: no two of %zu frames could be joined, no mosaic was written (%s)\n",
                     reports.size(), reasonsAndCounts(reports).c_str());
    if (2 * stitcher.placed() < reports.size()) advise(reports);
}

/// Frames that the library never saw are told at once, whatever the rest of the run brings.
void tellUnusable(const FrameReport& report, Progress& progress) {
    if (report.reason != Reason::unreadable && report.reason != Reason::wrongSize) return;
    progress.clear();
    std::fprintf(stderr, "brantel-stitch: %s is left out: %s\n", report.name.c_str(),
                 report.reason == Reason::unreadable ? "it cannot be read (missing, damaged or cut off)"
                                                     : "its size differs from the first frame's");
}

void stitchAll(FrameSource& source, Stitcher& stitcher, const Results& results, Progress& progress) {
    Frame frame;
    while (interrupted == 0 && !stitcher.stopped() && !results.failed() && source.next(frame)) {
        stitcher.take(std::move(frame));
        tellUnusable(stitcher.reports().back(), progress);
        progress.show(stitcher.reports().size(), source.count(), stitcher.placed(), stitcher.canvasSize());
    }
    stitcher.finish();
    progress.clear();
}

}  // namespace

int run(const Options& options) {
    const std::unique_ptr<FrameSource> source = readingAhead(openSource(options.inputs, options.channels));
    Expectation expectation = expectationFrom(options);
    Results results(options);
    LibraryLog log(options.libraryLog);
    std::signal(SIGINT, onInterrupt);

    RunSummary summary;
    summary.settings = options.session;
    summary.positionsKnown = !options.positions.empty();
    Stitcher stitcher(options.session, options.onLost, std::move(expectation), log,
                      [&](const FinishedMosaic& mosaic) { results.save(mosaic, summary); });
    Progress progress(stderr, !options.quiet);
    const auto start = std::chrono::steady_clock::now();
    stitchAll(*source, stitcher, results, progress);
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    summary.interrupted = interrupted != 0;
    summary.stopped = stitcher.stopped();

    results.saveReport(jsonLines(stitcher.reports(), summary), log.own());
    tellEnd(stitcher, summary);
    if (!options.quiet && options.report != standardOutput)
        std::fputs(table(stitcher.reports(), summary).c_str(), log.own());
    return stitcher.placed() == 0 || results.failed() ? 1 : 0;
}

}  // namespace host
