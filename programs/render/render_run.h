// One run of brantel-render, from the report to the last picture.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "render/console.h"
#include "render/file_frames.h"
#include "render/options.h"
#include "render/outputs.h"
#include "render/report_reader.h"
#include "render/scan_frames.h"
#include "render/tables.h"
#include "scan_solution.h"

namespace brantel::programs {

class RenderRun {
  public:
    explicit RenderRun(const RenderOptions& options) : options_(options), console_(options.quiet) {}

    /// Gives the exit code 0 or 1; throws InputError and OutputError for what is noticed before the first picture is written.
    int go();

  private:
    /// A frame, and what is wrong with it.
    using Problem = std::pair<std::size_t, std::string>;

    void open();
    std::string listOf(const std::vector<Problem>& problems) const;
    void leaveOutOrRefuse(const std::vector<Problem>& problems, const std::string& what);
    void requireFrames() const;
    void requireRoom() const;
    render::SolveSettings settings() const;
    void solve();
    void refuseContradictions();
    void layOutPictures();
    void writeAll();
    void writeOne(RenderedPicture& picture, std::size_t number);
    void writePositions();
    void tellEnd();
    std::vector<std::string> fileNames() const;
    void noteFailure(const std::string& text);

    const RenderOptions& options_;
    Console console_;
    ScanReport report_;
    ScanFrames scan_;
    std::vector<FrameFile> files_;
    std::unique_ptr<Outputs> outputs_;
    std::unique_ptr<FileFrames> frames_;
    render::ScanSolution solution_;
    std::vector<RenderedPicture> pictures_;
    std::size_t lost_ = 0;
    bool failed_ = false;
};

}  // namespace brantel::programs
