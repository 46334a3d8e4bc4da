#include "picture/layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace brantel::render {

namespace {

/// Far enough for every picture that can be written, and differences of two still fit.
constexpr double farthest = 1 << 30;

cv::Point rounded(cv::Point2d place) {
    const double x = std::floor(place.x + 0.5);
    const double y = std::floor(place.y + 0.5);
    if (!(std::abs(x) < farthest && std::abs(y) < farthest))
        throw std::runtime_error("the frames lie too far apart for one picture");
    return {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)};
}

/// A picture's columns or rows between the first and the last frame's top-left pixel.
std::int32_t extent(std::int32_t first, std::int32_t last, std::int32_t frame) {
    const std::int64_t size = static_cast<std::int64_t>(last) - first + frame;
    if (size > std::numeric_limits<std::int32_t>::max())
        throw std::runtime_error("the frames lie too far apart for one picture");
    return static_cast<std::int32_t>(size);
}

}  // namespace

Layout layOut(const std::vector<std::size_t>& frames, const std::vector<cv::Point2d>& places,
              cv::Size frameSize, std::int32_t type, cv::Point& origin) {
    Layout layout;
    layout.frameSize = frameSize;
    layout.type = type;
    origin = {};
    if (frames.empty()) return layout;
    layout.frames.reserve(frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) layout.frames.push_back({frames[i], rounded(places[i])});
    origin = layout.frames.front().at;
    cv::Point last = origin;
    for (const PlacedFrame& placed : layout.frames) {
        origin = {std::min(origin.x, placed.at.x), std::min(origin.y, placed.at.y)};
        last = {std::max(last.x, placed.at.x), std::max(last.y, placed.at.y)};
    }
    layout.size = {extent(origin.x, last.x, frameSize.width), extent(origin.y, last.y, frameSize.height)};
    for (PlacedFrame& placed : layout.frames) placed.at -= origin;
    return layout;
}

}  // namespace brantel::render
