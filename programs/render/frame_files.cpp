#include "render/frame_files.h"

#include <algorithm>

#include "frames/source.h"
#include "system/files.h"
#include "system/platform.h"
#include "system/time_text.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

bool isThere(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

/// Below the report's folder as much of the path as there is: of /a/b/c.png first a/b/c.png, then b/c.png, then c.png.
fs::path besideTheReport(const fs::path& path, const fs::path& folder) {
    fs::path rest = path.relative_path();
    while (!rest.empty()) {
        if (isThere(folder / rest)) return folder / rest;
        fs::path shorter;
        for (auto part = std::next(rest.begin()); part != rest.end(); ++part) shorter /= *part;
        rest = shorter;
    }
    return path;
}

std::string problemOf(const ReportedFrame& frame, const fs::path& path) {
    const std::optional<FileFacts> facts = factsOf(path);
    if (!facts || !facts->regular) return "the file is missing";
    if (frame.bytes >= 0 && facts->bytes != frame.bytes)
        return "the file has changed since: it has " + std::to_string(facts->bytes) + " bytes and had " +
               std::to_string(frame.bytes);
    const std::string modified = timeText(facts->modified);
    if (!frame.modified.empty() && modified != frame.modified)
        return "the file has changed since: its time is " + modified + " and was " + frame.modified;
    return "";
}

/// A frame of a video has the video's path.
bool isOfVideo(const ReportedFrame& reported, const FrameFile& file) {
    return reported.kept.empty() && !reported.path.empty() && isThere(file.path) && !isPicture(file.path);
}

FrameFile fileOf(const ReportedFrame& reported, const fs::path& folder) {
    FrameFile file;
    const std::string& name = reported.kept.empty() ? reported.path : reported.kept;
    if (name.empty()) {
        file.problem = "it is in no file";
        return file;
    }
    file.path = fs::u8path(name);
    if (reported.kept.empty()) file.page = reported.page;
    if (!isThere(file.path)) file.path = besideTheReport(file.path, folder);
    file.problem = problemOf(reported, file.path);
    if (isOfVideo(reported, file)) file.problem = "it is in no picture file";
    return file;
}

}  // namespace

std::vector<FrameFile> frameFilesOf(const ScanReport& report, const fs::path& reportFile,
                                    const std::vector<std::size_t>& wanted) {
    const fs::path folder = fs::absolute(reportFile).parent_path();
    std::vector<FrameFile> files;
    for (const ReportedFrame& reported : report.frames) files.push_back(fileOf(reported, folder));
    const auto isNone = [&](std::size_t number) {
        return files[number].path.empty() || isOfVideo(report.frames[number], files[number]);
    };
    if (!wanted.empty() && std::all_of(wanted.begin(), wanted.end(), isNone))
        throw InputError("the frames of " + reportFile.u8string() +
                         " are in no picture files: they came out of " +
                         (files[wanted.front()].path.empty() ? "a camera or another program"
                                                             : files[wanted.front()].path.u8string()) +
                         "; keep them the next time by brantel-stitch --keep-frames FOLDER");
    return files;
}

}  // namespace brantel::programs
