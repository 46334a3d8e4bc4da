#include "stitch/safety.h"

#include "pictures/image_io.h"
#include "system/file_identity.h"
#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace {

namespace fs = std::filesystem;

constexpr const char* standardOutput = "-";  // as the name of the report

std::vector<NamedFile> filesRead(const Options& options, const Inputs& inputs) {
    std::vector<NamedFile> files;
    for (const fs::path& picture : inputs.pictures) files.push_back({"a frame to be stitched", picture});
    if (!inputs.video.empty()) files.push_back({"the video to be stitched", fs::u8path(inputs.video)});
    if (!options.positions.empty())
        files.push_back({"the table of positions (--positions)", fs::u8path(options.positions)});
    return files;
}

std::vector<NamedFile> filesWritten(const Options& options) {
    std::vector<NamedFile> files{{"the mosaic (-o)", fs::u8path(options.output)}};
    const auto add = [&](const char* purpose, const std::string& file) {
        if (!file.empty() && file != standardOutput) files.push_back({purpose, fs::u8path(file)});
    };
    add("the overview (--overview)", options.overview);
    add("the report (--report)", options.report);
    add("the library's log (--library-log)", options.libraryLog);
    return files;
}

/// A result among the frames of a folder would be taken for one of them, or replace one.
void requireOutsideOf(const std::string& folder, const char* purpose, const std::vector<NamedFile>& outputs) {
    if (folder.empty()) return;
    const std::optional<FileFacts> place = factsOf(fs::u8path(folder));
    for (const NamedFile& output : outputs) {
        const fs::path parent = fs::absolute(output.path).parent_path();
        const std::optional<FileFacts> other = factsOf(parent);
        const bool same = place && other && place->device == other->device && place->index == other->index;
        if (same && isPictureName(output.path))
            throw InputError(output.path.u8string() + ", " + output.purpose + ", would lie in the folder " +
                             purpose + "; choose another folder for it");
    }
}

}  // namespace

std::set<std::string> requireSafe(const Options& options, const Inputs& inputs) {
    const std::vector<NamedFile> read = filesRead(options, inputs);
    const std::vector<NamedFile> written = filesWritten(options);
    requireDistinct(read, written);
    requireOutsideOf(options.source.watched, "that is watched for frames", written);
    requireOutsideOf(options.source.keptFolder, "for the frames that are kept", written);
    if (!options.source.keptFolder.empty() && !inputs.pictures.empty())
        throw InputError("--keep-frames is for videos, cameras and raw input; pictures are files already");
    if (options.report == standardOutput && !hasStandardOutput())
        throw InputError("--report - needs standard output, which is closed");
    for (const NamedFile& file : written) requireWritable(file.path);
    std::set<std::string> taken;
    for (const auto* files : {&read, &written})
        for (const NamedFile& file : *files)
            if (const auto identity = identityOf(file.path)) taken.insert(*identity);
    return taken;
}

}  // namespace brantel::programs
