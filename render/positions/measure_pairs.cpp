#include "positions/measure_pairs.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <tuple>

#include "coarse/coarse_shift.h"
#include "positions/frame_window.h"

namespace brantel::render {

namespace {

using session::CoarseShift;
using session::CoarseVerdict;

constexpr double doubtfulWeight = 0.2;
constexpr std::size_t allCells = 60000;  // of the scan, about
constexpr double strayShare =
    0.25;  // of a side: where a shift is still believed that lies beyond what chains usually add up to

std::vector<std::size_t> fromTopToBottom(const std::vector<ScanFrame>& frames) {
    std::vector<std::size_t> order;
    for (std::size_t k = 0; k < frames.size(); ++k)
        if (frames[k].wanted) order.push_back(k);
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return std::make_tuple(frames[a].group, frames[a].place.y, a) <
               std::make_tuple(frames[b].group, frames[b].place.y, b);
    });
    return order;
}

/// The pairs by the frame that comes second, and how many each frame still has to come.
class Agenda {
  public:
    Agenda(const std::vector<std::pair<std::size_t, std::size_t>>& pairs,
           const std::vector<std::size_t>& order, std::size_t frames)
        : partners_(frames), open_(frames, 0) {
        std::vector<std::size_t> rank(frames, 0);
        for (std::size_t k = 0; k < order.size(); ++k) rank[order[k]] = k;
        for (const auto& [a, b] : pairs) {
            const auto [early, late] = rank[a] < rank[b] ? std::pair(a, b) : std::pair(b, a);
            partners_[late].push_back(early);
            ++open_[a];
            ++open_[b];
        }
    }

    const std::vector<std::size_t>& earlierPartnersOf(std::size_t frame) const { return partners_[frame]; }
    /// True when the frame needs not be kept any longer.
    bool strike(std::size_t frame) { return --open_[frame] == 0; }
    bool isAlone(std::size_t frame) const { return open_[frame] == 0; }

  private:
    std::vector<std::vector<std::size_t>> partners_;
    std::vector<std::size_t> open_;
};

class Meter {
  public:
    Meter(const std::vector<ScanFrame>& frames, cv::Size size, std::size_t pairs, Measurements& to)
        : frames_(frames),
          size_(size),
          matcher_(size.height, size.width),
          mostCells_(std::clamp<std::size_t>(allCells / (pairs + 1), 40, 2000)),
          to_(to) {}

    void prepare(std::size_t number, FrameExtract& frame) {
        if (frame.grey.empty()) {
            to_.unreadable.push_back(number);
            return;
        }
        matcher_.prepare(frame.grey.data, frame.coarse);
        to_.light.channels = frame.light.means.channels();
        to_.light.grids[number] = lightGridOf(frame.light, frame.white);
    }

    void compare(std::size_t first, FrameExtract& inFirst, std::size_t second, FrameExtract& inSecond) {
        if (inFirst.grey.empty() || inSecond.grey.empty()) return;
        const cv::Point2d known = frames_[second].place - frames_[first].place;
        const std::optional<CoarseShift> shift = find(inFirst, inSecond, known);
        if (!shift) return;
        const cv::Point2d offset(shift->x, shift->y);
        const double weight = shift->verdict == CoarseVerdict::certain ? 1 : doubtfulWeight;
        to_.pairs.push_back({first, second, offset, weight, 0, false});
        addCells(first, inFirst.light, second, inSecond.light, offset, inFirst.white, mostCells_,
                 to_.light.cells);
    }

  private:
    std::optional<CoarseShift> find(FrameExtract& first, FrameExtract& second, const cv::Point2d& known) {
        const double near = std::max(24.0, 0.04 * std::min(size_.width, size_.height));
        const session::ShiftHint hint{known.x, known.y, near};
        const CoarseShift hinted =
            matcher_.match(first.coarse, first.grey.data, second.coarse, second.grey.data, &hint);
        if (hinted.verdict != CoarseVerdict::none) return hinted;
        const CoarseShift found =
            matcher_.match(first.coarse, first.grey.data, second.coarse, second.grey.data);
        const bool believable = std::abs(found.x - known.x) <= strayShare * size_.width &&
                                std::abs(found.y - known.y) <= strayShare * size_.height;
        if (found.verdict == CoarseVerdict::certain && believable) return found;
        return std::nullopt;
    }

    const std::vector<ScanFrame>& frames_;
    cv::Size size_;
    session::CoarseMatcher matcher_;
    std::size_t mostCells_;
    Measurements& to_;
};

}  // namespace

Measurements measurePairs(const std::vector<ScanFrame>& frames, cv::Size frameSize,
                          const std::vector<std::pair<std::size_t, std::size_t>>& pairs, FrameReader& reader,
                          const Progress& progress) {
    Measurements result;
    result.light.frameSize = frameSize;
    result.light.grids.resize(frames.size());
    const std::vector<std::size_t> order = fromTopToBottom(frames);
    Agenda agenda(pairs, order, frames.size());
    FrameWindow window(reader, frameSize, order);
    Meter meter(frames, frameSize, pairs.size(), result);
    for (std::size_t k = 0; k < order.size(); ++k) {
        tell(progress, k, order.size());
        const std::size_t frame = order[k];
        FrameExtract& extract = window.take();
        meter.prepare(frame, extract);
        for (const std::size_t other : agenda.earlierPartnersOf(frame)) {
            meter.compare(other, window.at(other), frame, extract);
            if (agenda.strike(other)) window.drop(other);
            agenda.strike(frame);
        }
        if (agenda.isAlone(frame)) window.drop(frame);
    }
    tell(progress, order.size(), order.size());
    return result;
}

}  // namespace brantel::render
