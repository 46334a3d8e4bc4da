#include "positions/overlaps.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <tuple>

namespace brantel::render {

namespace {

constexpr double leastShare = 0.04;  // of the area: what the comparison of two frames can make use of
constexpr std::size_t directions = 8;

using Pair = std::pair<std::size_t, std::size_t>;
using Cell = std::tuple<std::int32_t, std::int64_t, std::int64_t>;  // group, column, row

Cell cellOf(const ScanFrame& frame, cv::Size size) {
    return {frame.group, static_cast<std::int64_t>(std::floor(frame.place.x / size.width)),
            static_cast<std::int64_t>(std::floor(frame.place.y / size.height))};
}

/// 0 for a little more than a quarter turn around "to the right", and so on.
std::size_t directionOf(const cv::Point2d& step, cv::Size size) {
    constexpr double pi = 3.14159265358979323846;
    const double turn = std::atan2(step.y / size.height, step.x / size.width) / (2 * pi);  // -0.5 to 0.5
    return static_cast<std::size_t>(std::floor((turn + 1) * directions + 0.5)) % directions;
}

/// The frames by where they lie, in cells of a frame's size.
class Neighbourhood {
  public:
    Neighbourhood(const std::vector<ScanFrame>& frames, cv::Size size) : frames_(frames), size_(size) {
        for (std::size_t k = 0; k < frames.size(); ++k)
            if (frames[k].wanted) cells_[cellOf(frames[k], size)].push_back(k);
    }

    /// The nearest frame in each direction; the frame itself where there is none.
    std::array<std::size_t, directions> nearest(std::size_t frame) const {
        std::array<std::size_t, directions> found{};
        std::array<double, directions> shares{};
        found.fill(frame);
        const auto [group, column, row] = cellOf(frames_[frame], size_);
        for (std::int64_t r = row - 1; r <= row + 1; ++r)
            for (std::int64_t c = column - 1; c <= column + 1; ++c) {
                const auto cell = cells_.find({group, c, r});
                if (cell == cells_.end()) continue;
                for (const std::size_t other : cell->second) consider(frame, other, found, shares);
            }
        return found;
    }

  private:
    void consider(std::size_t frame, std::size_t other, std::array<std::size_t, directions>& found,
                  std::array<double, directions>& shares) const {
        if (other == frame) return;
        const double share = overlapShare(frames_[frame].place, frames_[other].place, size_);
        const std::size_t direction = directionOf(frames_[other].place - frames_[frame].place, size_);
        if (share < leastShare || share <= shares[direction]) return;
        shares[direction] = share;
        found[direction] = other;
    }

    const std::vector<ScanFrame>& frames_;
    cv::Size size_;
    std::map<Cell, std::vector<std::size_t>> cells_;
};

}  // namespace

double overlapShare(const cv::Point2d& from, const cv::Point2d& to, cv::Size frame) {
    const double across = frame.width - std::abs(from.x - to.x);
    const double down = frame.height - std::abs(from.y - to.y);
    if (across <= 0 || down <= 0) return 0;
    return across * down / (static_cast<double>(frame.width) * frame.height);
}

std::vector<Pair> overlappingPairs(const std::vector<ScanFrame>& frames, cv::Size frame) {
    const Neighbourhood neighbourhood(frames, frame);
    std::set<Pair> pairs;
    for (std::size_t k = 0; k < frames.size(); ++k) {
        if (!frames[k].wanted) continue;
        for (const std::size_t other : neighbourhood.nearest(k))
            if (other != k) pairs.insert({std::min(k, other), std::max(k, other)});
        const std::size_t joined = frames[k].joins.value_or(k);
        if (joined == k || !frames[joined].wanted || frames[joined].group != frames[k].group) continue;
        if (overlapShare(frames[k].place, frames[joined].place, frame) > 0)
            pairs.insert({std::min(k, joined), std::max(k, joined)});
    }
    return {pairs.begin(), pairs.end()};
}

}  // namespace brantel::render
