// A scan cut out of a generated picture, read from memory.
#pragma once

#include <atomic>
#include <set>
#include <vector>

#include "frame_reader.h"
#include "positions/scan_frame.h"

namespace brantel::render::test {

struct MemoryScan : FrameReader {
    cv::Mat picture;  // 8 or 16 bits
    cv::Size size;
    std::vector<cv::Point> places;  // the truth
    double vignetting = 0;          // loss of light in the corners
    std::vector<double> exposures;  // of the frames; 1 where there is none
    std::set<std::size_t> broken;   // cannot be read
    std::atomic<std::size_t> readings{0};

    /// A serpentine over a picture of fine texture, every place off by up to 6 pixels as stages are.
    MemoryScan(cv::Size frame, cv::Point step, cv::Size pictureSize, int type, std::uint64_t seed);

    cv::Mat read(std::size_t frame) override;
    cv::Mat grey(std::size_t frame, const cv::Mat& samples) const override;

    double lightAt(int row, int col) const;
    /// As a live run would tell of it: whole steps that are off by up to two pixels each.
    std::vector<ScanFrame> knownFrames(std::uint64_t seed) const;
};

}  // namespace brantel::render::test
