#include "positions/join_groups.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>

#include "coarse/coarse_shift.h"
#include "positions/frame_window.h"
#include "positions/overlaps.h"

namespace brantel::render {

namespace {

constexpr std::int64_t greyBytes = std::int64_t{256} << 20;  // of frames that are held at a time
constexpr std::size_t mostComparisons = 3000;                // of two groups
constexpr std::size_t enoughVotes = 3;
constexpr double sameStep = 12;      // pixels between two witnesses: both chains have drifted
constexpr double stageShare = 0.15;  // of a side: how far off stages are

/// What a comparison says the coordinates of one group begin at in those of the other.
using Votes = std::vector<cv::Point2d>;

struct Candidate {
    std::size_t first;
    std::size_t second;
    std::optional<cv::Point2d> expected;  // of the second frame from the first one
};

double middleOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Where the stage's coordinates begin in those of the group.
std::optional<cv::Point2d> stageIn(const std::vector<ScanFrame>& frames, std::int32_t group) {
    std::vector<double> across;
    std::vector<double> down;
    for (const ScanFrame& frame : frames) {
        if (!frame.wanted || frame.group != group || !frame.stage || frame.fromStage) continue;
        across.push_back(frame.place.x - frame.stage->x);
        down.push_back(frame.place.y - frame.stage->y);
    }
    if (across.empty()) return std::nullopt;
    return cv::Point2d(middleOf(across), middleOf(down));
}

std::set<std::int32_t> groupsOf(const std::vector<ScanFrame>& frames) {
    std::set<std::int32_t> groups;
    for (const ScanFrame& frame : frames)
        if (frame.wanted) groups.insert(frame.group);
    return groups;
}

void merge(std::vector<ScanFrame>& frames, std::int32_t from, std::int32_t into, const cv::Point2d& step) {
    for (ScanFrame& frame : frames) {
        if (frame.group != from) continue;
        frame.group = into;
        frame.place += step;
    }
}

/// The step most votes agree on, unless as many say something else.
std::optional<cv::Point2d> elected(const Votes& votes) {
    std::size_t most = 0;
    std::optional<cv::Point2d> best;
    for (const cv::Point2d& vote : votes) {
        const auto agreeing =
            static_cast<std::size_t>(std::count_if(votes.begin(), votes.end(), [&](const cv::Point2d& other) {
                return std::hypot(other.x - vote.x, other.y - vote.y) <= sameStep;
            }));
        if (agreeing <= most) continue;
        most = agreeing;
        best = vote;
    }
    return 2 * most > votes.size() ? best : std::nullopt;
}

class Joiner {
  public:
    Joiner(std::vector<ScanFrame>& frames, cv::Size size, FrameReader& reader)
        : frames_(frames), size_(size), matcher_(size.height, size.width), window_(reader, size, choose()) {}

    void read(const Progress& progress) {
        for (std::size_t k = 0; k < chosen_.size(); ++k) {
            tell(progress, k, chosen_.size());
            FrameExtract& extract = window_.take();
            if (!extract.grey.empty()) matcher_.prepare(extract.grey.data, extract.coarse);
        }
    }

    bool join(std::int32_t first, std::int32_t second) {
        Votes votes;
        for (const Candidate& candidate : candidatesOf(first, second)) {
            if (const auto vote = compare(candidate)) votes.push_back(*vote);
            if (votes.size() >= enoughVotes && elected(votes)) break;
        }
        const auto step = elected(votes);
        if (step) merge(frames_, second, first, *step);
        return step.has_value();
    }

  private:
    /// Every frame, or as many as there is room for, evenly over the scan.
    std::vector<std::size_t> choose() {
        std::vector<std::size_t> wanted;
        for (std::size_t k = 0; k < frames_.size(); ++k)
            if (frames_[k].wanted) wanted.push_back(k);
        const auto room = static_cast<std::size_t>(std::max<std::int64_t>(8, greyBytes / size_.area()));
        const std::size_t stride = (wanted.size() + room - 1) / std::max<std::size_t>(room, 1);
        for (std::size_t k = 0; k < wanted.size(); k += std::max<std::size_t>(stride, 1))
            chosen_.push_back(wanted[k]);
        return chosen_;
    }

    std::vector<Candidate> candidatesOf(std::int32_t first, std::int32_t second) const {
        std::vector<Candidate> all;
        for (const std::size_t a : chosen_)
            for (const std::size_t b : chosen_)
                if (frames_[a].group == first && frames_[b].group == second) consider(a, b, all);
        std::vector<Candidate> some;
        const std::size_t stride = all.size() / mostComparisons + 1;
        for (std::size_t k = 0; k < all.size(); k += stride) some.push_back(all[k]);
        return some;
    }

    void consider(std::size_t a, std::size_t b, std::vector<Candidate>& to) const {
        if (!frames_[a].stage || !frames_[b].stage) {
            to.push_back({a, b, std::nullopt});
        } else if (overlapShare(*frames_[a].stage, *frames_[b].stage, size_) > 0) {
            to.push_back({a, b, *frames_[b].stage - *frames_[a].stage});
        }
    }

    std::optional<cv::Point2d> compare(const Candidate& candidate) {
        FrameExtract& first = window_.at(candidate.first);
        FrameExtract& second = window_.at(candidate.second);
        if (first.grey.empty() || second.grey.empty()) return std::nullopt;
        session::ShiftHint hint;
        if (candidate.expected)
            hint = {candidate.expected->x, candidate.expected->y,
                    stageShare * std::max(size_.width, size_.height)};
        const session::CoarseShift shift =
            matcher_.match(first.coarse, first.grey.data, second.coarse, second.grey.data,
                           candidate.expected ? &hint : nullptr);
        if (shift.verdict != session::CoarseVerdict::certain) return std::nullopt;
        return frames_[candidate.first].place + cv::Point2d(shift.x, shift.y) -
               frames_[candidate.second].place;
    }

    std::vector<ScanFrame>& frames_;
    cv::Size size_;
    session::CoarseMatcher matcher_;
    std::vector<std::size_t> chosen_;
    FrameWindow window_;
};

/// Once more from the beginning after every success: what has grown may reach others.
void joinByPictures(std::vector<ScanFrame>& frames, Joiner& joiner) {
    std::set<std::pair<std::int32_t, std::int32_t>> apart;
    for (bool joined = true; joined;) {
        joined = false;
        const std::set<std::int32_t> groups = groupsOf(frames);
        for (const std::int32_t a : groups)
            for (const std::int32_t b : groups) {
                if (joined || b <= a || apart.count({a, b}) != 0) continue;
                joined = joiner.join(a, b);
                if (!joined) apart.insert({a, b});
            }
    }
}

void joinByStage(std::vector<ScanFrame>& frames) {
    std::optional<std::int32_t> first;
    for (const std::int32_t group : groupsOf(frames)) {
        const auto stage = stageIn(frames, group);
        if (!stage) continue;
        if (!first) {
            first = group;
        } else {
            merge(frames, group, *first, *stageIn(frames, *first) - *stage);
        }
    }
}

}  // namespace

void joinGroups(std::vector<ScanFrame>& frames, cv::Size frameSize, FrameReader& reader,
                const Progress& progress) {
    if (groupsOf(frames).size() < 2) return;
    {
        Joiner joiner(frames, frameSize, reader);
        joiner.read(progress);
        joinByPictures(frames, joiner);
    }
    joinByStage(frames);
}

}  // namespace brantel::render
