// Picture files read one after the other into frames of one depth.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "frames/frame.h"
#include "pictures/channels.h"
#include "pictures/stored_file.h"

namespace brantel::programs {

/// The pages of a stack that are frames.
struct PageChoice {
    std::size_t first = 1;
    std::size_t step = 1;
    std::size_t count = 0;  ///< 0: to the end
};

struct ReadingSettings {
    Channels channels = Channels::asStored;
    RangeSetting range;
    std::optional<PageChoice> pages;  ///< nothing: all, if they are one frame each
};

/// The pages of one file that are frames.
class FramePages {
  public:
    FramePages() = default;
    FramePages(const std::filesystem::path& file, const std::optional<PageChoice>& choice);
    /// Those that another one of the same file has left.
    FramePages(const std::filesystem::path& file, const FramePages& other);

    bool atEnd() const { return !file_ || page_ >= end_; }
    bool severalPages() const { return file_ && file_->pages() > 1; }
    /// How many frames there are in the file; for one that cannot be read, too, it is 1.
    std::size_t frames() const;
    /// What is left of the file cannot be read when its pages are several views of each place and none was
    /// chosen: this says so and how to choose, or is empty.
    const std::string& undecided() const { return undecided_; }

    /// The number of the next page, from 1.
    std::size_t page() const { return page_ + 1; }
    /// Reads the next page and moves on. Throws std::bad_alloc.
    Stored read(Channels channels);

  private:
    std::unique_ptr<StoredFile> file_;
    std::size_t page_ = 0;
    std::size_t end_ = 0;
    std::size_t step_ = 1;
    std::string undecided_;
};

/// Makes frames of stored pictures. With Channels::asStored all are read as the first one that can be read is
/// stored; an automatic range is settled by the first pictures that need one and kept.
class PictureReader {
  public:
    explicit PictureReader(const ReadingSettings& settings)
        : settings_(settings), channels_(settings.channels), tones_(settings.range) {}

    /// Opens a file; its frames come one by one out of next().
    void open(const std::filesystem::path& path);
    const FramePages& pages() const { return pages_; }
    /// The pages that next() has not given yet, to be read independently of it.
    FramePages remainingPages() const { return FramePages(path_, pages_); }

    /// False at the end of the file.
    /// @param further  gives pictures after this one, as they are stored, for settling the range
    bool next(Frame& frame, const std::function<std::vector<cv::Mat>()>& further);

  private:
    void finish(Stored stored, Frame& frame, const std::function<std::vector<cv::Mat>()>& further);

    ReadingSettings settings_;
    Channels channels_;
    Tones tones_;
    std::filesystem::path path_;
    FramePages pages_;
};

}  // namespace brantel::programs
