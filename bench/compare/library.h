// The library as a host sees it: a file with three exported functions.
#pragma once

#include <brantel/brantel.h>

#include <string>

#include "compare/scan.h"

namespace brantel::bench {

/// Loads the library, forces the CPU and initialises it; tears it down at the end. Changes to a directory of
/// its own meanwhile.
class Library {
  public:
    Library(const std::string& file, const ScanSetup& setup, std::int32_t mainMode);
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    /// Stitches a frame, with first to start a new mosaic.

    StitchFlags stitch(const cv::Mat* first, const cv::Mat& current);
    std::int32_t lastResult() const { return result_; }
    const cv::Mat& canvas() const { return canvas_; }

  private:
    void* handle_ = nullptr;
    std::string directory_;
    std::string home_;
    decltype(&::initJoint) init_ = nullptr;
    decltype(&::stichingImagedJoint) stitch_ = nullptr;
    decltype(&::uinitJoint) close_ = nullptr;
    std::int32_t result_ = 0;
    cv::Mat canvas_;
};

}  // namespace brantel::bench
