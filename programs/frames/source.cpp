#include "frames/source.h"

#include <algorithm>
#include <map>

#include "frames/in_channels.h"
#include "frames/kept_frames.h"
#include "frames/picture_files.h"
#include "frames/raw_input.h"
#include "frames/reading_ahead.h"
#include "frames/video.h"
#include "frames/watched_folder.h"
#include "pictures/image_io.h"
#include "pictures/kinds.h"
#include "pictures/picture_bytes.h"
#include "pictures/stored_file.h"
#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

/// "it holds 12 .czi files": what there is most of.
std::string whatIsIn(const fs::path& folder) {
    std::map<std::string, std::size_t> kinds;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (!fs::is_directory(entry->path(), error)) ++kinds[extensionOf(entry->path())];
    if (kinds.empty()) return "it holds no files";
    const auto most = std::max_element(kinds.begin(), kinds.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    const std::string extension = most->first.empty() ? "" : most->first + " ";
    return "it holds " + std::to_string(most->second) + " " + extension +
           (most->second == 1 ? "file" : "files");
}

bool isCamera(const std::string& input) {
    const std::optional<FileFacts> facts = factsOf(fs::u8path(input));
    return isAddress(input) || (facts && facts->characterDevice);
}

/// Opening a pipe would wait for whoever writes into it.
void requireFile(const std::string& input) {
    const std::optional<FileFacts> facts = factsOf(fs::u8path(input));
    if (facts && !facts->regular && !facts->characterDevice)
        throw InputError(input + " is a pipe or socket; frames from another program are read with --raw");
}

/// What is wrong with several inputs of which one is no picture.
InputError cannotMix(const std::vector<std::string>& others, std::size_t inputs) {
    std::string names;
    for (const std::string& other : others) names += (names.empty() ? "" : ", ") + withoutPassword(other);
    if (others.size() == inputs)
        return InputError("one video, camera or stream is stitched at a time, but " +
                          std::to_string(others.size()) + " files are given that are no pictures: " + names +
                          "; run the program once for each");
    return InputError(names + (others.size() == 1 ? " is no picture" : " are no pictures") + " (" +
                      readableKinds + " are read); leave out what is no frame, and stitch a video by itself");
}

std::unique_ptr<FrameSource> openLive(const SourceSettings& settings, const Inputs& inputs) {
    std::unique_ptr<FrameSource> source;
    if (settings.raw.width > 0)
        source = std::make_unique<RawInput>(settings.raw);
    else if (!inputs.camera.empty())
        source = openCamera(inputs.camera);
    else
        source = openVideo(inputs.video);
    if (!settings.keptFolder.empty())
        source = keepingFrames(std::move(source), fs::u8path(settings.keptFolder));
    return inChannels(std::move(source), settings.reading.channels);
}

}  // namespace

bool isPicture(const fs::path& path) {
    return isPictureName(path) || isReadableKind(kindOf(path));
}

std::vector<fs::path> picturesIn(const fs::path& folder) {
    std::vector<fs::path> pictures;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (isPictureName(entry->path()) && entry->path().filename().u8string().front() != '.')
            pictures.push_back(entry->path());
    if (error) throw InputError("cannot read the folder " + folder.u8string() + ": " + error.message());
    std::sort(pictures.begin(), pictures.end(), [](const fs::path& a, const fs::path& b) {
        return naturallyBefore(a.filename().u8string(), b.filename().u8string());
    });
    if (pictures.empty())
        throw InputError("no pictures in the folder " + folder.u8string() + " (" + readableKinds +
                         " are read): " + whatIsIn(folder));
    return pictures;
}

Inputs listInputs(const std::vector<std::string>& inputs) {
    Inputs listed;
    std::vector<std::string> others;
    for (const std::string& input : inputs) {
        const fs::path path = fs::u8path(input);
        std::error_code error;
        if (!isAddress(input) && !fs::exists(path, error))
            throw InputError(input + " does not exist; check the name");
        if (fs::is_directory(path, error)) {
            const std::vector<fs::path> pictures = picturesIn(path);
            listed.pictures.insert(listed.pictures.end(), pictures.begin(), pictures.end());
            continue;
        }
        requireFile(input);
        if (isCamera(input) || !isPicture(path)) {
            others.push_back(input);
        } else {
            listed.pictures.push_back(path);
        }
    }
    if (!others.empty() && inputs.size() > 1) throw cannotMix(others, inputs.size());
    if (!others.empty()) (isCamera(others.front()) ? listed.camera : listed.video) = others.front();
    return listed;
}

std::unique_ptr<FrameSource> openSource(const SourceSettings& settings, const Inputs& inputs) {
    std::unique_ptr<FrameSource> source;
    if (!settings.watched.empty())
        source = std::make_unique<WatchedFolder>(fs::u8path(settings.watched), settings.idleSeconds,
                                                 settings.reading);
    else if (!inputs.pictures.empty())
        source = std::make_unique<PictureFiles>(inputs.pictures, settings.reading);
    else
        source = openLive(settings, inputs);
    return std::make_unique<ReadingAhead>(std::move(source));
}

}  // namespace brantel::programs
