#include "source.h"

#include <algorithm>
#include <cctype>
#include <future>
#include <optional>

#include "files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

/// The run of digits at `at` without leading zeros; moves past it.
std::string takeNumber(const std::string& text, std::size_t& at) {
    while (at < text.size() && text[at] == '0') ++at;
    const std::size_t from = at;
    while (at < text.size() && isDigit(text[at])) ++at;
    return text.substr(from, at - from);
}

class PictureFiles : public FrameSource {
  public:
    PictureFiles(std::vector<fs::path> files, Channels channels)
        : files_(std::move(files)), channels_(channels) {}

    bool next(Frame& frame) override {
        if (at_ == files_.size()) return false;
        const fs::path& file = files_[at_];
        frame = {at_, file.u8string(), readPicture(file, channels_)};
        if (channels_ == Channels::asStored && !frame.image.empty())
            channels_ = frame.image.channels() == 1 ? Channels::grey : Channels::colour;
        ++at_;
        return true;
    }

    std::size_t count() const override { return files_.size(); }

  private:
    std::vector<fs::path> files_;
    Channels channels_;
    std::size_t at_ = 0;
};

class ReadingAhead : public FrameSource {
  public:
    explicit ReadingAhead(std::unique_ptr<FrameSource> source) : source_(std::move(source)) {}

    bool next(Frame& frame) override {
        std::optional<Frame> ready = ahead_.valid() ? ahead_.get() : read();
        if (!ready) return false;
        frame = std::move(*ready);
        ahead_ = std::async(std::launch::async, [this] { return read(); });
        return true;
    }

    std::size_t count() const override { return count_; }

  private:
    std::optional<Frame> read() {
        Frame frame;
        return source_->next(frame) ? std::optional<Frame>(std::move(frame)) : std::nullopt;
    }

    std::unique_ptr<FrameSource> source_;
    std::size_t count_ = source_->count();
    std::future<std::optional<Frame>> ahead_;  // last: its end waits for a read that still goes on
};

std::unique_ptr<FrameSource> openVideoOrThrow(const std::string& input, Channels channels) {
    auto video = openVideo(fs::u8path(input), channels);
    if (video) return video;
    throw InputError(input +
                     " is neither a picture (.png, .jpg, .tif, .bmp, ...) nor a video that can be read");
}

}  // namespace

bool naturallyBefore(const std::string& a, const std::string& b) {
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < a.size() && k < b.size()) {
        if (isDigit(a[i]) && isDigit(b[k])) {
            const std::string left = takeNumber(a, i);
            const std::string right = takeNumber(b, k);
            if (left.size() != right.size()) return left.size() < right.size();
            if (left != right) return left < right;
        } else {
            if (a[i] != b[k]) return a[i] < b[k];
            ++i;
            ++k;
        }
    }
    if (a.size() - i != b.size() - k) return a.size() - i < b.size() - k;
    return a < b;  // "1" and "01": equal numbers, still an order
}

std::unique_ptr<FrameSource> readingAhead(std::unique_ptr<FrameSource> source) {
    return std::make_unique<ReadingAhead>(std::move(source));
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
        throw InputError("no pictures in the folder " + folder.u8string() + " (.png, .jpg, .tif, .bmp, ...)");
    return pictures;
}

std::unique_ptr<FrameSource> openSource(const std::vector<std::string>& inputs, Channels channels) {
    std::vector<fs::path> files;
    for (const std::string& input : inputs) {
        const fs::path path = fs::u8path(input);
        if (!fs::exists(path)) throw InputError(input + " does not exist; check the name");
        if (fs::is_directory(path)) {
            const std::vector<fs::path> pictures = picturesIn(path);
            files.insert(files.end(), pictures.begin(), pictures.end());
        } else if (inputs.size() == 1 && !isPictureName(path)) {
            return openVideoOrThrow(input, channels);
        } else {
            files.push_back(path);
        }
    }
    return std::make_unique<PictureFiles>(std::move(files), channels);
}

}  // namespace host
