#include "pictures/channels.h"

namespace brantel::programs {

namespace {

/// Weights of 14 bits, rounded.
template <class Sample>
Sample greyOf(const Sample* blueGreenRed) {
    return static_cast<Sample>(
        (blueGreenRed[2] * 4899 + blueGreenRed[1] * 9617 + blueGreenRed[0] * 1868 + 8192) >> 14);
}

template <class Sample>
cv::Mat changed(const cv::Mat& picture, bool toColour) {
    cv::Mat result(picture.size(), CV_MAKETYPE(picture.depth(), toColour ? 3 : 1));
    for (std::int32_t r = 0; r < picture.rows; ++r) {
        const auto* from = picture.ptr<Sample>(r);
        auto* to = result.ptr<Sample>(r);
        for (std::int32_t c = 0; c < picture.cols; ++c) {
            if (toColour) {
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

}  // namespace

cv::Mat withChannels(const cv::Mat& picture, Channels wanted) {
    if (picture.empty() || wanted == Channels::asStored) return picture;
    const bool wants3 = wanted == Channels::colour;
    if (wants3 == (picture.channels() == 3)) return picture;
    return picture.depth() == CV_16U ? changed<std::uint16_t>(picture, wants3)
                                     : changed<std::uint8_t>(picture, wants3);
}

}  // namespace brantel::programs
