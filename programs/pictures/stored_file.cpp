#include "pictures/stored_file.h"

#include <cerrno>
#include <cstring>

#include "pictures/image_io.h"
#include "pictures/kinds.h"
#include "pictures/range.h"
#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

/// A file that holds one picture.
class SinglePicture : public StoredFile {
  public:
    explicit SinglePicture(fs::path path) : path_(std::move(path)) {}

    Stored read(std::size_t /*page*/, Channels channels) override {
        const std::vector<std::uint8_t> bytes = readFile(path_);
        cv::Mat samples = decodePicture(bytes, channels);
        // Some decoders cannot change the number of channels of floating point.
        if (samples.empty() && channels != Channels::asStored)
            samples = decodePicture(bytes, Channels::asStored);
        if (samples.empty()) return {{}, whyUnreadable(path_)};
        return {samples};
    }

  private:
    fs::path path_;
};

}  // namespace

bool isReadableKind(const std::string& kind) {
    for (const char* name : {"PNG", "JPEG 2000", "JPEG", "TIFF", "BMP", "PNM", "WebP"})
        if (kind.find(name) != std::string::npos)
            return std::string(readableKinds).find(name) != std::string::npos;
    return false;
}

std::unique_ptr<StoredFile> openStored(const fs::path& path) {
    std::unique_ptr<StoredFile> tiff = openTiff(path);
    if (tiff) return tiff;
    return std::make_unique<SinglePicture>(path);
}

std::string whyUnreadable(const fs::path& path) {
    std::FILE* file = openFile(path, "rb");
    if (file == nullptr) return std::string("it cannot be opened: ") + std::strerror(errno);
    std::fclose(file);
    const std::string kind = kindOf(path);
    if (kind == "empty") return "the file is empty";
    if (kind.empty()) return "it is no picture of a known kind, or damaged from its beginning on";
    if (isReadableKind(kind)) return "it is " + kind + " that is damaged or cut off";
    return "it is " + kind + ", and only " + readableKinds + " are read";
}

cv::Mat readPicture(const fs::path& path, Channels channels) {
    const cv::Mat samples = openStored(path)->read(0, channels).samples;
    Tones tones(RangeSetting{});
    if (tones.wantsExamples(samples)) tones.learnFrom({samples});
    return withChannels(tones.apply(samples).picture, channels);
}

}  // namespace brantel::programs
