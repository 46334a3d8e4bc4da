#include "frames/picture_reader.h"

#include <algorithm>
#include <new>

#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

void describeFile(const fs::path& path, Origin& origin) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    origin.path = (error ? path : absolute.lexically_normal()).u8string();
    const std::optional<FileFacts> facts = factsOf(path);
    if (!facts) return;
    origin.bytes = facts->bytes;
    origin.modified = facts->modified;
}

}  // namespace

FramePages::FramePages(const fs::path& file, const std::optional<PageChoice>& choice)
    : file_(openStored(file)), end_(file_->pages()) {
    if (choice && severalPages()) {
        page_ = std::min(choice->first - 1, end_);
        step_ = choice->step;
        if (choice->count > 0 && choice->count <= (end_ - page_) / step_)
            end_ = page_ + choice->count * step_;
    } else if (const std::optional<StackPlan> plan = file_->plan()) {
        undecided_ = "it holds " + plan->what + "; choose one view, for instance the first by --pages 1," +
                     std::to_string(plan->step) + "," + std::to_string(plan->count);
        end_ = 1;
    }
}

FramePages::FramePages(const fs::path& file, const FramePages& other)
    : file_(other.atEnd() ? nullptr : openStored(file)),
      page_(other.page_),
      end_(other.end_),
      step_(other.step_),
      undecided_(other.undecided_) {}

std::size_t FramePages::frames() const {
    return atEnd() ? 0 : (end_ - page_ + step_ - 1) / step_;
}

Stored FramePages::read(Channels channels) {
    const std::size_t page = page_;
    page_ += step_;
    if (!undecided_.empty()) return {{}, undecided_};
    return file_->read(page, channels);
}

void PictureReader::open(const fs::path& path) {
    path_ = path;
    pages_ = FramePages(path, settings_.pages);
}

bool PictureReader::next(Frame& frame, const std::function<std::vector<cv::Mat>()>& further) {
    if (pages_.atEnd()) return false;
    frame = {};
    frame.origin.page = pages_.page();
    frame.name = path_.u8string();
    if (pages_.severalPages()) frame.name += "#" + std::to_string(frame.origin.page);
    describeFile(path_, frame.origin);
    try {
        finish(pages_.read(channels_), frame, further);
    } catch (const std::bad_alloc&) {
        frame.image.release();
        frame.problem = "there is not enough memory to read it";
        frame.outOfMemory = true;
    }
    return true;
}

void PictureReader::finish(Stored stored, Frame& frame,
                           const std::function<std::vector<cv::Mat>()>& further) {
    frame.problem = std::move(stored.problem);
    if (stored.samples.empty()) return;
    if (tones_.wantsExamples(stored.samples)) {
        std::vector<cv::Mat> examples = further();
        examples.push_back(stored.samples);
        tones_.learnFrom(examples);
    }
    Toned toned = tones_.apply(stored.samples);
    frame.origin.range = toned.range;
    frame.beyond = toned.beyond;
    frame.image = withChannels(toned.picture, channels_);
    if (channels_ == Channels::asStored)
        channels_ = frame.image.channels() == 1 ? Channels::grey : Channels::colour;
}

}  // namespace brantel::programs
