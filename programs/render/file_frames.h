// A scan's frames out of their files.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "frame_reader.h"
#include "pictures/range.h"
#include "render/frame_files.h"
#include "render/open_files.h"

namespace brantel::programs {

/// Samples of 8 and 16 bits come as they are stored; others, signed ones and floating point, as 16 bits over the range of the
/// run: what became 1 and 255 there is 1 and 65535 here.
class FileFrames : public render::FrameReader {
  public:
    /// @param channels  as the live run was asked for
    /// @param range     of the live run
    FileFrames(std::vector<FrameFile> files, Channels channels, const std::optional<Range>& range)
        : files_(std::move(files)), channels_(channels), range_(range) {}

    /// The first of these frames that can be read decides on size and format of all. False when none can be read.
    bool settle(const std::vector<std::size_t>& wanted);

    cv::Size size() const { return size_; }
    std::int32_t type() const { return type_; }
    /// Of the stored values that became 1 and 255; known when the frames are not of 8 bits.
    const std::optional<Range>& range() const { return range_; }
    /// True when the samples are not given as they are stored.
    bool areConverted() const { return depth_ != CV_8U && depth_ != CV_16U; }

    cv::Mat read(std::size_t frame) override;
    cv::Mat grey(std::size_t frame, const cv::Mat& samples) const override;

    /// Why frames could not be read, by their numbers.
    std::map<std::size_t, std::string> problems() const;

  private:
    Stored readStored(std::size_t frame);
    cv::Mat inFormat(const cv::Mat& stored) const;
    void noteProblem(std::size_t frame, const std::string& problem);

    std::vector<FrameFile> files_;
    Channels channels_;
    std::optional<Range> range_;
    cv::Size size_;
    std::int32_t depth_ = CV_8U;  // of the samples as they are stored
    std::int32_t type_ = CV_8UC1;
    OpenFiles open_;
    mutable std::mutex mutex_;
    std::map<std::size_t, std::string> problems_;
};

}  // namespace brantel::programs
