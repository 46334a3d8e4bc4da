#include "stitch/results.h"

#include "pictures/image_io.h"
#include "pictures/picture_bytes.h"
#include "pictures/tiff_writer.h"
#include "stitch/overview.h"
#include "system/file_identity.h"
#include "system/files.h"
#include "system/out_of_memory.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

/// a/mosaic-2.png for a/mosaic.png and "-2".
fs::path withSuffix(const fs::path& path, const std::string& suffix) {
    fs::path name = path.stem();
    name += suffix;
    name += path.extension();
    return path.parent_path() / name;
}

bool isTiff(const fs::path& file) {
    return isOneOf(extensionOf(file), {".tif", ".tiff"});
}

cv::Mat wholeOf(const FinishedMosaic& mosaic) {
    return mosaic.read(cv::Rect({0, 0}, mosaic.size));
}

/// Needs hardly any memory.
void writeInBands(const fs::path& file, const FinishedMosaic& mosaic) {
    const auto band = [&](std::int32_t row, std::int32_t rows) {
        return mosaic.read({0, row, mosaic.size.width, rows});
    };
    writeTiff(file, PictureInBands{mosaic.size, mosaic.channels, band});
}

/// Pictures that are better not copied as a whole.
bool isHuge(const FinishedMosaic& mosaic) {
    constexpr std::int64_t many = std::int64_t{1}
                                  << 31;  // bytes; beyond it a compressed TIFF needs wider numbers
    return std::int64_t{mosaic.size.width} * mosaic.size.height * mosaic.channels >= many;
}

}  // namespace

void Results::requireRoomFor(const std::optional<cv::Size>& extent) const {
    if (!extent) return;
    const std::int64_t limit = std::int64_t{options_.session.limitA} * options_.session.limitB;
    if (std::int64_t{extent->width} * extent->height > limit) return;  // it will be several mosaics
    if (const auto problem = sizeProblem(fs::u8path(options_.output), *extent))
        throw InputError("by the positions the mosaic will have " + sizeText(*extent) + " pixels, but " +
                         *problem + "; choose another format for " + options_.output + " (" + outputNames +
                         ")");
}

/// mosaic.png for 1, mosaic-2.png for 2; if that is a file that the run has read or written, mosaic-2_1.png.
fs::path Results::freeName(const fs::path& asked, std::int32_t number) {
    if (number == 1) return asked;
    const std::string suffix = "-" + std::to_string(number);
    for (int k = 0;; ++k) {
        fs::path name = withSuffix(asked, k == 0 ? suffix : suffix + "_" + std::to_string(k));
        const auto identity = identityOf(name);
        if (!identity || taken_.insert(*identity).second) return name;
    }
}

std::optional<SavedMosaic> Results::save(const FinishedMosaic& mosaic) {
    std::optional<SavedMosaic> saved;
    ++count_;
    try {
        const fs::path file = writeSomehow(freeName(fs::u8path(options_.output), count_), mosaic);
        saved = SavedMosaic{file.u8string(), mosaic.number,      mosaic.size,
                            mosaic.origin,   mosaic.path.size(), mosaic.firstFrame};
    } catch (const OutputError& error) {
        noteFailure(error.what());
    }
    if (!options_.overview.empty()) saveOverview(mosaic);
    return saved;
}

fs::path Results::writeSomehow(const fs::path& file, const FinishedMosaic& mosaic) {
    if (const auto problem = sizeProblem(file, mosaic.size)) return writeAsTiff(file, mosaic, *problem);
    try {
        if (isTiff(file) && isHuge(mosaic))
            writeInBands(file, mosaic);
        else
            writePicture(file, wholeOf(mosaic));
        return file;
    } catch (const std::exception& error) {
        if (!isOutOfMemory(error)) throw;
    }
    if (!isTiff(file))
        return writeAsTiff(file, mosaic, "there is not enough memory for making it into that format");
    writeInBands(file, mosaic);
    return file;
}

/// Under a name that no file has.
fs::path Results::writeAsTiff(const fs::path& file, const FinishedMosaic& mosaic, const std::string& why) {
    fs::path name = file;
    name.replace_extension(".tif");
    std::error_code error;
    for (int k = 1; fs::exists(name, error); ++k) {
        name = withSuffix(file, "_" + std::to_string(k));
        name.replace_extension(".tif");
    }
    noteFailure("the mosaic of " + sizeText(mosaic.size) + " pixels is saved as " + name.u8string() +
                " instead of " + file.filename().u8string() + ": " + why);
    writeInBands(name, mosaic);
    return name;
}

void Results::saveOverview(const FinishedMosaic& mosaic) {
    const fs::path file = freeName(fs::u8path(options_.overview), count_);
    try {
        writePicture(file, overviewOf(wholeOf(mosaic), mosaic));
    } catch (const std::exception& error) {
        noteFailure(isOutOfMemory(error) ? "cannot write " + file.u8string() + ": out of memory"
                                         : error.what());
    }
}

void Results::noteFailure(const std::string& text) {
    failed_ = true;
    messages_.error(text);
}

}  // namespace brantel::programs
