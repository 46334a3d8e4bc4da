#include "pictures/channels.h"

namespace brantel::programs {

namespace {

/// Weights of 14 bits, rounded.
std::uint8_t greyOf(const std::uint8_t* blueGreenRed) {
    return static_cast<std::uint8_t>(
        (blueGreenRed[2] * 4899 + blueGreenRed[1] * 9617 + blueGreenRed[0] * 1868 + 8192) >> 14);
}

}  // namespace

cv::Mat withChannels(const cv::Mat& picture, Channels wanted) {
    if (picture.empty() || wanted == Channels::asStored) return picture;
    const bool wants3 = wanted == Channels::colour;
    if (wants3 == (picture.channels() == 3)) return picture;
    cv::Mat result(picture.size(), wants3 ? CV_8UC3 : CV_8UC1);
    for (std::int32_t r = 0; r < picture.rows; ++r) {
        const std::uint8_t* from = picture.ptr(r);
        std::uint8_t* to = result.ptr(r);
        for (std::int32_t c = 0; c < picture.cols; ++c) {
            if (wants3) {
                to[0] = to[1] = to[2] = *from++;
                to += 3;
            } else {
                *to++ = greyOf(from);
                from += 3;
            }
        }
    }
    return result;
}

}  // namespace brantel::programs
