// How bright the same thing is in each place of a frame.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>

namespace brantel::render {

/// What samples are multiplied by so that the whole frame is as bright as its brightest place; empty for even light.
struct FlatField {
    /// CV_32FC1 or CV_32FC3 (blue, green, red), values of at least 1 (a few percent less where a given profile is
    /// noisy). The value (row, col) belongs to the frame's pixel (row x step, col x step), and between them it changes
    /// linearly.
    cv::Mat factors;
    std::int32_t step = 1;

    bool isEven() const { return factors.empty(); }

    /// The size of the factors that cover a frame.
    static cv::Size sizeFor(cv::Size frame, std::int32_t step) {
        return {(frame.width - 1 + step - 1) / step + 1, (frame.height - 1 + step - 1) / step + 1};
    }
};

}  // namespace brantel::render
