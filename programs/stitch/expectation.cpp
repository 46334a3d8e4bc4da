#include "stitch/expectation.h"

#include <algorithm>
#include <cmath>

namespace brantel::programs {

namespace {

std::int32_t rounded(double value) {
    return static_cast<std::int32_t>(std::clamp(std::floor(value + 0.5), -1e9, 1e9));
}

}  // namespace

void Expectation::flip(bool x, bool y) {
    signX_ = x ? -1 : 1;
    signY_ = y ? -1 : 1;
}

std::optional<cv::Point2d> Expectation::placeOf(const Frame& frame) const {
    const auto place = grid_ ? grid_->placeOf(frame.index, frame.image.size()) : positions_->of(frame);
    if (!place) return std::nullopt;
    return cv::Point2d(place->x * signX_, place->y * signY_);
}

std::optional<Shift> Expectation::between(const Frame& earlier, const Frame& later) const {
    if (step_) {
        const auto steps = static_cast<double>(later.index) - static_cast<double>(earlier.index);
        return Shift(rounded(step_->x * steps), rounded(step_->y * steps));
    }
    if (!measured()) return std::nullopt;
    const auto from = placeOf(earlier);
    const auto to = placeOf(later);
    if (!from || !to) return std::nullopt;
    return Shift(rounded(to->x - from->x), rounded(to->y - from->y));
}

std::vector<std::optional<Shift>> Expectation::attempts(const Frame& earlier, const Frame& later) const {
    const std::optional<Shift> expected = between(earlier, later);
    const bool overlapping =
        expected && std::abs(expected->x) < later.image.cols && std::abs(expected->y) < later.image.rows;
    if (!overlapping) return {std::nullopt};
    if (step_) return {expected, std::nullopt};
    return {std::nullopt, expected};
}

std::optional<cv::Size> Expectation::extent(cv::Size frame, std::size_t frames) const {
    if (!measured()) return std::nullopt;
    const std::vector<cv::Point2d> places =
        grid_ ? std::vector<cv::Point2d>{{0, 0},
                                         *grid_->placeOf(grid_->frames() - 1, frame),
                                         *grid_->placeOf(static_cast<std::size_t>(grid_->columns) - 1, frame)}
              : positions_->places(frames);
    if (places.empty()) return std::nullopt;
    cv::Point2d least = places.front();
    cv::Point2d most = places.front();
    for (const cv::Point2d& place : places) {
        least = {std::min(least.x, place.x), std::min(least.y, place.y)};
        most = {std::max(most.x, place.x), std::max(most.y, place.y)};
    }
    return cv::Size(rounded(most.x - least.x + frame.width), rounded(most.y - least.y + frame.height));
}

}  // namespace brantel::programs
