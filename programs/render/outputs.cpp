#include "render/outputs.h"

#include <algorithm>

#include "pictures/picture_bytes.h"
#include "system/file_identity.h"
#include "system/files.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> filesWrittenFor(const fs::path& picture) {
    render::PictureFile file;
    file.path = picture;
    file.format = *render::formatOf(picture);
    return render::filesOf(file);
}

fs::path resolved(const fs::path& path) {
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(path, error);
    return error ? fs::absolute(path).lexically_normal() : canonical;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool liesIn(const fs::path& file, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), file.begin(), file.end()).first == folder.end();
}

/// Every file once, though a stack holds many frames.
std::vector<NamedFile> filesReadFor(const RenderOptions& options, const std::vector<FrameFile>& frames) {
    std::set<fs::path> pictures;
    for (const FrameFile& frame : frames)
        if (!frame.path.empty()) pictures.insert(frame.path);
    std::vector<NamedFile> files{{"the report", fs::u8path(options.report)}};
    if (!options.flatFieldFile.empty())
        files.push_back({"the picture of even light (--flat-field)", fs::u8path(options.flatFieldFile)});
    for (const fs::path& picture : pictures) files.push_back({"a frame to be rendered", picture});
    return files;
}

/// A folder of tiles is replaced as a whole, so it must be one.
void requireTilesOf(const fs::path& picture, const fs::path& folder, const std::vector<fs::path>& filesRead) {
    std::error_code error;
    if (!fs::exists(picture, error))
        throw InputError("the folder " + folder.u8string() + " would be replaced, and is none of " +
                         picture.u8string() +
                         ", which is not there; choose another name for the picture (-o)");
    for (const fs::path& file : filesRead)
        if (liesIn(file, resolved(folder)))
            throw InputError("the folder " + folder.u8string() + " would be replaced, and " +
                             file.u8string() +
                             " is read out of it; choose another name for the picture (-o)");
}

}  // namespace

fs::path numberedName(const fs::path& path, const std::string& suffix) {
    fs::path stem = path.stem();
    fs::path ending = path.extension();
    if (extensionOf(stem) == ".ome") {
        ending = stem.extension();
        ending += path.extension();
        stem = stem.stem();
    }
    stem += suffix;
    stem += ending;
    return path.parent_path() / stem;
}

Outputs::Outputs(const RenderOptions& options, const std::vector<FrameFile>& frames)
    : asked_(fs::u8path(options.output)) {
    const std::vector<NamedFile> read = filesReadFor(options, frames);
    std::vector<NamedFile> written;
    for (const fs::path& file : filesWrittenFor(asked_)) written.push_back({"the picture (-o)", file});
    if (!options.positionsOut.empty())
        written.push_back({"the table of positions (--positions-out)", fs::u8path(options.positionsOut)});
    requireDistinct(read, written);
    for (const NamedFile& file : read) {
        filesRead_.push_back(resolved(file.path));
        if (const auto identity = identityOf(file.path)) taken_.insert(*identity);
    }
    for (const NamedFile& file : written) {
        if (isFolder(file.path))
            requireTilesOf(asked_, file.path, filesRead_);
        else
            requireWritable(file.path);
    }
    if (!options.positionsOut.empty())
        if (const auto identity = identityOf(fs::u8path(options.positionsOut))) taken_.insert(*identity);
}

bool Outputs::isFree(const fs::path& picture) const {
    for (const fs::path& file : filesWrittenFor(picture)) {
        const auto identity = identityOf(file);
        if (identity && taken_.count(*identity) > 0) return false;
        if (isFolder(file) && std::any_of(filesRead_.begin(), filesRead_.end(),
                                          [&](const fs::path& read) { return liesIn(read, resolved(file)); }))
            return false;
    }
    return true;
}

void Outputs::take(const fs::path& picture) {
    for (const fs::path& file : filesWrittenFor(picture))
        if (const auto identity = identityOf(file)) taken_.insert(*identity);
}

fs::path Outputs::pictureName(std::size_t number) {
    fs::path name = asked_;
    const std::string suffix = "-" + std::to_string(number);
    if (number > 1) name = numberedName(asked_, suffix);
    for (int k = 1; number > 1 && !isFree(name); ++k)
        name = numberedName(asked_, suffix + "_" + std::to_string(k));
    take(name);
    return name;
}

fs::path Outputs::tiffInsteadOf(const fs::path& picture) {
    fs::path name = picture;
    name.replace_extension(".tif");
    std::error_code error;
    for (int k = 1; fs::exists(name, error); ++k) {
        name = numberedName(picture, "_" + std::to_string(k));
        name.replace_extension(".tif");
    }
    return name;
}

}  // namespace brantel::programs
