// One run, from the first frame to the last line.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "stitch/messages.h"
#include "stitch/options.h"
#include "stitch/progress.h"
#include "stitch/report.h"
#include "stitch/report_file.h"
#include "stitch/results.h"
#include "stitch/stitcher.h"
#include "stitch/tally.h"

namespace brantel::programs {

class StitchingRun {
  public:
    /// @param taken  the identities of all files that the run reads or writes
    StitchingRun(const Options& options, std::unique_ptr<FrameSource> source, Expectation expectation,
                 std::set<std::string> taken);

    /// Gives the exit code 0 or 1; throws InputError for what is noticed at the first frame.
    int go();

  private:
    void stitchAll();
    void takeFrame(Frame& frame);
    void onFrame(const FrameReport& frame);
    void onMosaic(const FinishedMosaic& mosaic);
    void beginReport();
    void report(const std::string& line);
    void tellUnusable(const FrameReport& frame);
    void tellEnd();
    void printTable();

    const Options& options_;
    std::unique_ptr<FrameSource> source_;
    Expectation expectation_;
    RunSummary summary_;
    Tally tally_;
    Progress progress_;
    Messages messages_;
    Results results_;
    LibraryLog log_;
    ReportFile report_;
    Stitcher stitcher_;
    std::size_t unusable_ = 0;
    bool sizeKnown_ = false;
    bool reportBegun_ = false;
    bool keepingFailed_ = false;
};

}  // namespace brantel::programs
