#include "picture/light_rows.h"

#include <algorithm>
#include <stdexcept>

namespace brantel::render {

LightRows::LightRows(const FlatField& light, const Layout& layout)
    : light_(light), channels_(CV_MAT_CN(layout.type)) {
    if (light.isEven()) return;
    const cv::Mat& factors = light.factors;
    if (factors.size() != FlatField::sizeFor(layout.frameSize, light.step) || factors.depth() != CV_32F ||
        (factors.channels() != 1 && factors.channels() != channels_))
        throw std::invalid_argument("the flat field does not fit the frames");
}

const float* LightRows::factors(std::int32_t row, std::int32_t column, std::int32_t pixels,
                                std::vector<float>& room) const {
    if (light_.isEven()) return nullptr;
    if (light_.step > 1) return between(row, column, pixels, room);
    const std::int32_t kept = light_.factors.channels();
    const float* from = light_.factors.ptr<float>(row) + static_cast<std::int64_t>(column) * kept;
    if (channels_ == 1) return from;
    room.resize(static_cast<std::size_t>(pixels) * 3);
    float* to = room.data();
    for (std::int32_t x = 0; x < pixels; ++x, from += kept, to += 3) {
        to[0] = from[kept - 1];
        to[1] = from[kept / 2];
        to[2] = from[0];
    }
    return room.data();
}

/// The factors on the way from one that is kept to the next one.
const float* LightRows::between(std::int32_t row, std::int32_t column, std::int32_t pixels,
                                std::vector<float>& room) const {
    const cv::Mat& kept = light_.factors;
    const std::int32_t step = light_.step;
    const std::int32_t channels = kept.channels();
    const float* const above = kept.ptr<float>(row / step);
    const float* const below = kept.ptr<float>(std::min(row / step + 1, kept.rows - 1));
    const float down = static_cast<float>(row % step) / static_cast<float>(step);
    const auto at = [&](std::int32_t cell, std::int32_t channel) {
        const std::int32_t index = std::min(cell, kept.cols - 1) * channels + channel;
        return above[index] + (below[index] - above[index]) * down;
    };
    room.resize(static_cast<std::size_t>(pixels) * static_cast<std::size_t>(channels_));
    for (std::int32_t x = 0; x < pixels;) {
        const std::int32_t cell = (column + x) / step;
        const std::int32_t end = std::min(pixels, (cell + 1) * step - column);
        for (std::int32_t c = 0; c < channels_; ++c) {
            const std::int32_t channel = channels == 1 ? 0 : channels_ - 1 - c;
            const float first = at(cell, channel);
            const float slope = (at(cell + 1, channel) - first) / static_cast<float>(step);
            float* to = room.data() + static_cast<std::ptrdiff_t>(x) * channels_ + c;
            for (std::int32_t k = x; k < end; ++k, to += channels_)
                *to = first + slope * static_cast<float>(column + k - cell * step);
        }
        x = end;
    }
    return room.data();
}

}  // namespace brantel::render
