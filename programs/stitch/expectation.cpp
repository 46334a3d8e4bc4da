#include "stitch/expectation.h"

#include <algorithm>
#include <cmath>

namespace brantel::programs {

namespace {

std::int32_t rounded(double value) {
    return static_cast<std::int32_t>(std::clamp(std::floor(value + 0.5), -1e9, 1e9));
}

}  // namespace

std::optional<Shift> shiftBetween(const std::optional<cv::Point2d>& from,
                                  const std::optional<cv::Point2d>& to) {
    if (!from || !to) return std::nullopt;
    return Shift(rounded(to->x - from->x), rounded(to->y - from->y));
}

void Expectation::flip(bool x, bool y) {
    signX_ = x ? -1 : 1;
    signY_ = y ? -1 : 1;
}

std::optional<cv::Point2d> Expectation::placeOf(const Frame& frame) const {
    if (step_) {
        const auto steps = static_cast<double>(frame.index);
        return cv::Point2d(step_->x * steps, step_->y * steps);
    }
    if (!measured()) return std::nullopt;
    const auto place = grid_ ? grid_->placeOf(frame.index, frame.image.size()) : positions_->of(frame);
    if (!place) return std::nullopt;
    return cv::Point2d(place->x * signX_, place->y * signY_);
}

std::vector<std::optional<Shift>> Expectation::attempts(const std::optional<Shift>& expected,
                                                        cv::Size frame) const {
    const bool overlapping =
        expected && std::abs(expected->x) < frame.width && std::abs(expected->y) < frame.height;
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
