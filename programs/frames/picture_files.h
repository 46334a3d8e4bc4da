// A fixed list of picture files as a source of frames.
#pragma once

#include "frames/picture_reader.h"

namespace brantel::programs {

class PictureFiles : public FrameSource {
  public:
    /// Throws InputError when the first file is a stack of which a view must be chosen.
    PictureFiles(std::vector<std::filesystem::path> files, const ReadingSettings& settings);

    bool next(Frame& frame) override;

    /// A stack counts for one until it is opened.
    std::size_t count() const override { return count_; }

  private:
    std::vector<cv::Mat> examplesAhead() const;
    void openNext();

    std::vector<std::filesystem::path> files_;
    ReadingSettings settings_;
    PictureReader reader_;
    std::size_t opened_ = 0;
    std::size_t index_ = 0;
    std::size_t count_;
};

}  // namespace brantel::programs
