#include "render/render_run.h"

#include <algorithm>
#include <cmath>

#include "pictures/picture_bytes.h"
#include "system/files.h"
#include "system/out_of_memory.h"
#include "system/stop.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostNamed = 5;

std::string counted(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

cv::Mat readFlatField(const std::string& file, cv::Size size, std::int32_t channels) {
    const Stored stored = openStored(fs::u8path(file))->read(0, Channels::asStored);
    if (stored.samples.empty())
        throw InputError("cannot use " + file + " as --flat-field: " + stored.problem);
    if (stored.samples.size() != size)
        throw InputError("cannot use " + file + " as --flat-field: it has " +
                         sizeText(stored.samples.size()) + " pixels, the frames have " + sizeText(size));
    if (stored.samples.channels() != 1 && stored.samples.channels() != channels)
        throw InputError("cannot use " + file + " as --flat-field: it is in colour and the frames are grey");
    return stored.samples;
}

}  // namespace

int RenderRun::go() {
    try {
        open();
        solve();
        layOutPictures();
        writeAll();
    } catch (const render::Cancelled&) {
        std::string text = std::string("interrupted by ") + stopCause();
        for (const RenderedPicture& picture : pictures_)
            if (!picture.file.empty()) text += "; " + picture.file + " is complete";
        console_.error(text);
        return 1;
    }
    if (!options_.positionsOut.empty()) writePositions();
    tellEnd();
    return failed_ ? 1 : 0;
}

void RenderRun::open() {
    const fs::path file = fs::u8path(options_.report);
    report_ = readScanReport(file);
    if (!report_.complete && !options_.keepGoing)
        throw InputError(options_.report +
                         " has no summary: the run of brantel-stitch still goes on or was cut off after " +
                         counted(report_.frames.size()) + "; --keep-going renders these");
    if (!report_.complete)
        console_.note(options_.report + " is cut off after " + counted(report_.frames.size()));
    scan_ = scanFramesOf(report_);
    requireFrames();
    files_ = frameFilesOf(report_, file, wantedOf(scan_.frames));
    outputs_ = std::make_unique<Outputs>(options_, files_);
    std::vector<Problem> problems;
    for (const std::size_t frame : wantedOf(scan_.frames))
        if (!files_[frame].problem.empty()) problems.emplace_back(frame, files_[frame].problem);
    leaveOutOrRefuse(problems, "cannot be used");
    frames_ = std::make_unique<FileFrames>(files_, report_.channels, report_.range);
    if (!frames_->settle(wantedOf(scan_.frames)))
        throw InputError("none of the frames of " + options_.report + " can be read");
    if (frames_->areConverted())
        console_.note(
            "the frames' samples, which are neither of 8 nor of 16 bits, are rendered in 16 bits: " +
            nameOf(*frames_->range()) + " become 1 to 65535");
    requireRoom();
}

/// The first of them by name.
std::string RenderRun::listOf(const std::vector<Problem>& problems) const {
    std::string text;
    for (std::size_t k = 0; k < std::min(problems.size(), mostNamed); ++k) {
        const auto& [frame, why] = problems[k];
        text += "\n  frame " + std::to_string(frame + 1) + " (" + report_.frames[frame].name + ")";
        if (!why.empty()) text += ": " + why;
    }
    if (problems.size() > mostNamed)
        text += "\n  and " + std::to_string(problems.size() - mostNamed) + " more";
    return text;
}

/// With --keep-going these frames are told and left out, else the run ends.
void RenderRun::leaveOutOrRefuse(const std::vector<Problem>& problems, const std::string& what) {
    if (problems.empty()) return;
    const std::string text = counted(problems.size()) + " " + what + ":" + listOf(problems);
    if (!options_.keepGoing) throw InputError(text + "\n--keep-going renders the others");
    console_.error(text);
    for (const Problem& problem : problems) leaveOut(problem.first, scan_.frames);
    lost_ += problems.size();
    requireFrames();
}

void RenderRun::requireFrames() const {
    if (wantedOf(scan_.frames).empty())
        throw InputError("there is nothing to render: no frame of " + options_.report +
                         " that can be used has a place");
}

void RenderRun::requireRoom() const {
    const render::Format format = *render::formatOf(fs::u8path(options_.output));
    for (const cv::Size2d& extent : extentsOf(scan_.frames, frames_->size())) {
        constexpr double most = INT32_MAX;
        const cv::Size size(static_cast<std::int32_t>(std::min(most, std::ceil(extent.width))),
                            static_cast<std::int32_t>(std::min(most, std::ceil(extent.height))));
        if (const auto problem = render::formatProblem(format, size, frames_->type()))
            throw InputError(options_.output + " cannot hold the picture: " + *problem +
                             "; choose another format (" + render::formatNames + ")");
    }
}

render::SolveSettings RenderRun::settings() const {
    render::SolveSettings settings;
    settings.frameSize = frames_->size();
    settings.flatField = options_.flatField;
    if (settings.flatField == render::FlatFieldChoice::given)
        settings.givenField =
            readFlatField(options_.flatFieldFile, frames_->size(), CV_MAT_CN(frames_->type()));
    settings.gains = options_.gains;
    return settings;
}

void RenderRun::solve() {
    solution_ = render::solveScan(scan_.frames, settings(), *frames_,
                                  console_.progressOf("measuring where frames lie"));
    console_.clear();
    const std::map<std::size_t, std::string> problems = frames_->problems();
    std::vector<Problem> unreadable;
    for (const std::size_t frame : solution_.unreadable) {
        const auto problem = problems.find(frame);
        unreadable.emplace_back(frame, problem == problems.end() ? "it cannot be read" : problem->second);
    }
    leaveOutOrRefuse(unreadable, "cannot be read");
    refuseContradictions();
    if (!solution_.lightRemark.empty()) console_.note(solution_.lightRemark);
}

void RenderRun::refuseContradictions() {
    std::vector<Problem> frames;
    for (const std::size_t frame : solution_.contradicted) frames.emplace_back(frame, "");
    if (frames.empty()) return;
    const std::string text = counted(frames.size()) + (frames.size() == 1 ? " lies" : " lie") +
                             " elsewhere by the pictures than by the report:" + listOf(frames);
    if (!options_.keepGoing) throw InputError(text + "\n--keep-going renders them where the report says");
    console_.error(text + "\nthey stay where the report says");
}

void RenderRun::layOutPictures() {
    std::int32_t count = 0;
    for (const render::SolvedFrame& frame : solution_.frames) count = std::max(count, frame.picture);
    for (std::int32_t number = 1; number <= count; ++number) {
        std::vector<std::size_t> members;
        std::vector<cv::Point2d> places;
        for (const std::size_t frame : wantedOf(scan_.frames)) {
            if (solution_.frames[frame].picture != number) continue;
            members.push_back(frame);
            places.push_back(solution_.frames[frame].place);
        }
        if (members.empty()) continue;
        RenderedPicture picture;
        picture.number = number;
        picture.layout = render::layOut(members, places, frames_->size(), frames_->type(), picture.origin);
        for (render::PlacedFrame& frame : picture.layout.frames) frame.gain = solution_.gains[frame.frame];
        pictures_.push_back(std::move(picture));
    }
}

void RenderRun::writeAll() {
    const std::size_t before = frames_->problems().size();
    for (std::size_t k = 0; k < pictures_.size(); ++k) {
        try {
            writeOne(pictures_[k], k + 1);
        } catch (const render::Cancelled&) {
            throw;
        } catch (const std::exception& error) {
            noteFailure(isOutOfMemory(error)
                            ? "out of memory: a picture of " + sizeText(pictures_[k].layout.size) +
                                  " pixels is not written"
                            : error.what());
        }
    }
    if (frames_->problems().size() > before)
        noteFailure(
            "frames could not be read any more while the picture was written; their places are left to the "
            "others");
}

void RenderRun::writeOne(RenderedPicture& picture, std::size_t number) {
    render::PictureFile file;
    file.path = outputs_->pictureName(number);
    file.format = *render::formatOf(file.path);
    file.pixelSize = options_.pixelSize > 0 ? options_.pixelSize : report_.pixelSize;
    file.quality = options_.quality;
    if (const auto problem = render::formatProblem(file.format, picture.layout.size, picture.layout.type)) {
        const fs::path asked = file.path;
        file.path = outputs_->tiffInsteadOf(asked);
        file.format = render::Format::tiff;
        noteFailure("the picture is saved as " + file.path.u8string() + " instead of " +
                    asked.filename().u8string() + ": " + *problem);
    }
    const render::PictureParts parts{picture.layout, solution_.light, *frames_, options_.blend};
    render::writePicture(file, parts, console_.progressOf("writing " + file.path.u8string()));
    picture.file = file.path.u8string();
}

void RenderRun::writePositions() {
    try {
        writeFile(fs::u8path(options_.positionsOut), positionTable(fileNames(), solution_, pictures_));
    } catch (const OutputError& error) {
        noteFailure(error.what());
    }
}

void RenderRun::tellEnd() {
    if (!console_.result(resultTable(scan_, solution_, pictures_, lost_)))
        noteFailure("cannot write to standard output");
}

/// As brantel-stitch names them when it reads the same files, without their folders.
std::vector<std::string> RenderRun::fileNames() const {
    std::vector<std::string> names;
    for (std::size_t frame = 0; frame < files_.size(); ++frame) {
        const ReportedFrame& reported = report_.frames[frame];
        names.push_back(
            (reported.kept.empty() ? fs::u8path(reported.name) : files_[frame].path).filename().u8string());
    }
    return names;
}

void RenderRun::noteFailure(const std::string& text) {
    failed_ = true;
    console_.error(text);
}

}  // namespace brantel::programs
