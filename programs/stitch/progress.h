// The line that shows on a terminal how far a run has got.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <opencv2/core/types.hpp>

#include "stitch/tally.h"

namespace brantel::programs {

class Progress {
  public:
    /// Shows nothing when not wanted or when the stream is no terminal.
    Progress(std::FILE* stream, bool wanted);

    /// @param total  0 when it is not known
    void show(const Tally& tally, std::size_t total, std::size_t dropped, cv::Size canvas);

    /// Clears the line for other output.
    void clear();

  private:
    std::FILE* stream_;
    bool active_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point shown_{};
};

}  // namespace brantel::programs
