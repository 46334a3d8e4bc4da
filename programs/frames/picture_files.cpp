#include "frames/picture_files.h"

#include "system/files.h"

namespace brantel::programs {

namespace {

constexpr std::size_t mostExamples = 8;  // pictures that settle the range

}  // namespace

PictureFiles::PictureFiles(std::vector<std::filesystem::path> files, const ReadingSettings& settings)
    : files_(std::move(files)), settings_(settings), reader_(settings), count_(files_.size()) {
    if (files_.empty()) return;
    openNext();
    const std::string& undecided = reader_.pages().undecided();
    if (!undecided.empty())
        throw InputError(files_.front().u8string() + " cannot be stitched as it is: " + undecided);
}

void PictureFiles::openNext() {
    reader_.open(files_[opened_++]);
    count_ = count_ - 1 + reader_.pages().frames();
}

bool PictureFiles::next(Frame& frame) {
    while (!reader_.next(frame, [this] { return examplesAhead(); })) {
        if (opened_ == files_.size()) return false;
        openNext();
    }
    frame.index = index_++;
    return true;
}

/// The pictures behind the present one, read once more when their turn comes: a handful costs less time than
/// keeping them costs memory.
std::vector<cv::Mat> PictureFiles::examplesAhead() const {
    std::vector<cv::Mat> examples;
    FramePages pages = reader_.remainingPages();
    std::size_t file = opened_;
    for (std::size_t looked = 1; looked < mostExamples; ++looked) {
        while (pages.atEnd() && file < files_.size()) pages = FramePages(files_[file++], settings_.pages);
        if (pages.atEnd()) break;
        const cv::Mat samples = pages.read(settings_.channels).samples;
        if (!samples.empty() && samples.depth() != CV_8U) examples.push_back(samples);
    }
    return examples;
}

}  // namespace brantel::programs
