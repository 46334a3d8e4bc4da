// Where frames come from: picture files, a folder of them, or a video.
#pragma once

#include <filesystem>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

#include "image_io.h"

namespace host {

struct Frame {
    std::size_t index = 0;
    std::string name;  ///< file name; for a video "film.mp4#12"
    cv::Mat image;     ///< empty when it could not be read
};

class FrameSource {
  public:
    virtual ~FrameSource() = default;

    /// The next frame, readable or not; false at the end.
    virtual bool next(Frame& frame) = 0;

    /// How many frames there are; 0 when that is not known.
    virtual std::size_t count() const = 0;
};

/// Opens what the user named: picture files, folders (their pictures in natural order) or one video.
/// With Channels::asStored all frames are read as the first one that can be read is stored.
/// Throws InputError.
std::unique_ptr<FrameSource> openSource(const std::vector<std::string>& inputs, Channels channels);

/// The same frames, each read on another thread while the one before is worked on.
std::unique_ptr<FrameSource> readingAhead(std::unique_ptr<FrameSource> source);

/// The pictures of a folder in natural order.
std::vector<std::filesystem::path> picturesIn(const std::filesystem::path& folder);

/// A video's frames; null when it cannot be opened.
std::unique_ptr<FrameSource> openVideo(const std::filesystem::path& path, Channels channels);

/// Natural order: digits compare as numbers, so frame2 comes before frame10.
bool naturallyBefore(const std::string& a, const std::string& b);

}  // namespace host
