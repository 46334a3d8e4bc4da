// TIFF files by libtiff: stacks, every depth, floating point.
#include <tiffio.h>

#include <algorithm>
#include <new>
#include <system_error>
#include <vector>

#include "pictures/kinds.h"
#include "pictures/stack_plan.h"
#include "pictures/stored_file.h"
#include "pictures/tiff_samples.h"
#include "system/files.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

struct Closer {
    void operator()(TIFF* file) const { TIFFClose(file); }
};

/// A reduced copy of another page, or a mask for it.
bool isByTheWay(TIFF* file) {
    std::uint32_t type = 0;
    TIFFGetField(file, TIFFTAG_SUBFILETYPE, &type);
    return (type & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
}

/// No packing makes samples that much smaller: a file that claims to hold more is damaged, and its claim is not to cost
/// memory.
bool mayHold(std::uintmax_t fileBytes, const TiffFormat& format) {
    constexpr std::uint64_t mostPacked = 65536;
    const std::uint64_t samples = std::uint64_t{format.width} * format.height * format.samplesPerPixel;
    return samples / 8 * format.bits <= fileBytes * mostPacked;
}

std::string descriptionOf(TIFF* file) {
    const char* text = nullptr;
    return TIFFGetField(file, TIFFTAG_IMAGEDESCRIPTION, &text) == 1 && text != nullptr ? text : "";
}

class TiffFile : public StoredFile {
  public:
    explicit TiffFile(const fs::path& path) : path_(path) {
        TIFFSetErrorHandler(nullptr);  // what goes wrong is told by the program
        TIFFSetWarningHandler(nullptr);
        file_.reset(TIFFOpen(path.c_str(), "r"));
        if (!file_) return;
        description_ = descriptionOf(file_.get());
        samplesPerPixel_ = formatOf(file_.get()).samplesPerPixel;
        do {
            if (!isByTheWay(file_.get())) places_.push_back(TIFFCurrentDirOffset(file_.get()));
        } while (TIFFReadDirectory(file_.get()) == 1);
    }

    std::size_t pages() const override { return std::max<std::size_t>(1, places_.size()); }

    std::optional<StackPlan> plan() const override { return planOf(description_, pages(), samplesPerPixel_); }

    Stored read(std::size_t page, Channels /*channels*/) override {
        if (page >= places_.size()) return {{}, whyUnreadable(path_)};
        if (const std::size_t pictures = picturesWithoutPages(description_, places_.size()))
            return {
                {},
                "it holds " + std::to_string(pictures) +
                    " pictures in ImageJ's own layout for large stacks, of which only the first has a page; "
                    "save it as OME-TIFF or as single pictures"};
        if (TIFFSetSubDirectory(file_.get(), places_[page]) != 1) return {{}, whyUnreadable(path_)};
        const TiffFormat format = formatOf(file_.get());
        const std::string unread = whyNotRead(format);
        if (!unread.empty()) return {{}, "it is a TIFF picture with " + unread + ", which is not read"};
        std::error_code none;
        cv::Mat samples;
        if (mayHold(fs::file_size(path_, none), format)) samples = readSamples(file_.get(), format);
        if (samples.empty()) return {{}, "it is a TIFF picture that is damaged or cut off"};
        return {samples};
    }

  private:
    fs::path path_;
    std::unique_ptr<TIFF, Closer> file_;
    std::string description_;
    std::size_t samplesPerPixel_ = 1;
    std::vector<toff_t> places_;  // of the pages' directories in the file
};

}  // namespace

std::unique_ptr<StoredFile> openTiff(const fs::path& path) {
    if (kindOf(path).find("TIFF") == std::string::npos) return nullptr;
    return std::make_unique<TiffFile>(path);
}

}  // namespace brantel::programs
