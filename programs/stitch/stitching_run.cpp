#include "stitch/stitching_run.h"

#include <chrono>

#include "frames/video.h"
#include "stitch/advice.h"
#include "stitch/table.h"
#include "system/files.h"
#include "system/out_of_memory.h"
#include "system/platform.h"
#include "system/stop.h"

namespace brantel::programs {

namespace {

RunSummary beginningOf(const Options& options, const Expectation& expectation) {
    RunSummary summary;
    summary.settings = options.session;
    summary.positionsKnown = expectation.measured();
    summary.inputs = options.source.inputs;
    if (!options.source.watched.empty()) summary.inputs = {options.source.watched};
    for (std::string& input : summary.inputs) input = withoutPassword(input);
    summary.output = options.output;
    summary.channels = options.source.reading.channels;
    summary.pixelSize = options.pixelSize;
    return summary;
}

}  // namespace

StitchingRun::StitchingRun(const Options& options, std::unique_ptr<FrameSource> source,
                           Expectation expectation, std::set<std::string> taken)
    : options_(options),
      source_(std::move(source)),
      expectation_(std::move(expectation)),
      summary_(beginningOf(options, expectation_)),
      progress_(stderr, !options.quiet),
      messages_(options.quiet, progress_),
      results_(options, std::move(taken), messages_),
      log_(options.libraryLog),
      report_(options.report, stdout),
      stitcher_(
          options.session, options.onLost, expectation_, log_,
          [this](const FrameReport& frame) { onFrame(frame); },
          [this](const FinishedMosaic& mosaic) { onMosaic(mosaic); }) {}

int StitchingRun::go() {
    const auto start = std::chrono::steady_clock::now();
    stitchAll();
    summary_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    summary_.interrupted = stopRequested();
    summary_.stopped = stitcher_.stopped();
    beginReport();
    report(summaryLine(tally_, summary_));
    tellEnd();
    if (!options_.quiet && options_.report != "-") printTable();
    return tally_.placed() == 0 || results_.failed() ? 1 : 0;
}

/// What goes wrong in between does not take with it what is stitched already.
void StitchingRun::stitchAll() {
    try {
        Frame frame;
        while (!stopRequested() && !stitcher_.stopped() && source_->next(frame)) takeFrame(frame);
    } catch (const InputError&) {
        throw;
    } catch (const std::exception& error) {
        results_.noteFailure(isOutOfMemory(error) ? "out of memory: the run ends here" : error.what());
    }
    stitcher_.finish();
    progress_.clear();
}

void StitchingRun::takeFrame(Frame& frame) {
    if (!sizeKnown_ && !frame.image.empty()) {
        sizeKnown_ = true;
        requireUsefulLimit(options_.session, frame.image.size());
        results_.requireRoomFor(expectation_.extent(frame.image.size(), source_->count()));
    }
    if (!frame.notKept.empty() && !keepingFailed_) {
        keepingFailed_ = true;
        results_.noteFailure(frame.notKept);
    }
    stitcher_.take(std::move(frame));
    const std::size_t dropped = source_->dropped();
    if (dropped != summary_.dropped) report(droppedLine(dropped));
    summary_.dropped = dropped;
    progress_.show(tally_, source_->count(), dropped, stitcher_.canvasSize());
}

void StitchingRun::onFrame(const FrameReport& frame) {
    beginReport();
    if (!tally_.range() && frame.origin.range) {
        report(rangeLine(*frame.origin.range));
        if (options_.source.reading.range.kind == RangeSetting::Kind::automatic)
            messages_.note("stored values from " + nameOf(*frame.origin.range) +
                           " become 1 to 255; --range sets other ones");
    }
    tally_.add(frame);
    report(frameLine(frame));
    tellUnusable(frame);
}

void StitchingRun::onMosaic(const FinishedMosaic& mosaic) {
    const std::optional<SavedMosaic> saved = results_.save(mosaic);
    if (!saved) return;
    summary_.mosaics.push_back(*saved);
    report(pictureLine(*saved));
}

void StitchingRun::beginReport() {
    if (reportBegun_) return;
    reportBegun_ = true;
    report(runLine(summary_));
}

void StitchingRun::report(const std::string& line) {
    try {
        report_.write(line);
    } catch (const OutputError& error) {
        results_.noteFailure(error.what());
    }
}

/// Frames that cannot be used at all are told at once, whatever the rest of the run brings.
void StitchingRun::tellUnusable(const FrameReport& frame) {
    constexpr std::size_t most = 20;
    const bool unusable = frame.reason == Reason::unreadable || frame.reason == Reason::wrongSize ||
                          frame.reason == Reason::outOfMemory;
    if (!unusable || ++unusable_ > most) return;
    messages_.error(frame.name + " is left out: " +
                    (frame.reason == Reason::outOfMemory ? "out of memory" : frame.detail));
    if (unusable_ == most) messages_.error("further frames that cannot be used are only in the report");
}

void StitchingRun::tellEnd() {
    if (const std::string remark = source_->remark(); !remark.empty()) messages_.error(remark);
    if (summary_.interrupted)
        messages_.note("interrupted after " + std::to_string(tally_.frames()) + " frames by " + stopCause() +
                       "; what there is has been saved");
    if (summary_.stopped)
        messages_.note("stopped at " + tally_.last().name + ": " + nameOf(tally_.last().reason) +
                       " (--on-lost stop)");
    if (tally_.placed() == 0) messages_.error(nothingPlaced(tally_));
    for (const std::string& hint : hintsFor(tally_, options_)) messages_.note(hint);
}

void StitchingRun::printTable() {
    const std::string text = table(tally_, summary_);
    if (hasStandardOutput() && (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0))
        results_.noteFailure("cannot write to standard output");
}

}  // namespace brantel::programs
