#include "positions/solve_positions.h"

#include <Eigen/Sparse>
#include <Eigen/SparseCholesky>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace brantel::render {

namespace {

using Matrix = Eigen::SparseMatrix<double>;
using Places = Eigen::Matrix<double, Eigen::Dynamic, 2>;

/// A pair, or what holds a frame that nothing was measured for.
struct Link {
    std::size_t first;
    std::size_t second;
    cv::Point2d offset;
    double weight;
};

constexpr double chainWeight = 1e-4;  // whole pixels, and errors add up along the chain
constexpr double stageWeight = 1e-6;  // several pixels off

double residualOf(const cv::Point2d& offset, const cv::Point2d& first, const cv::Point2d& second) {
    return std::hypot(second.x - first.x - offset.x, second.y - first.y - offset.y);
}

/// Sets of frames that links connect.
class Parts {
  public:
    explicit Parts(std::size_t frames) : parents_(frames) {
        std::iota(parents_.begin(), parents_.end(), std::size_t{0});
    }
    std::size_t of(std::size_t frame) {
        while (parents_[frame] != frame) frame = parents_[frame] = parents_[parents_[frame]];
        return frame;
    }
    void connect(std::size_t a, std::size_t b) { parents_[std::max(of(a), of(b))] = std::min(of(a), of(b)); }

  private:
    std::vector<std::size_t> parents_;  // the smallest number of a part stands for it
};

std::size_t nearestOther(const std::vector<ScanFrame>& frames, std::size_t frame) {
    std::size_t nearest = frame;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < frames.size(); ++k) {
        if (k == frame || !frames[k].wanted || frames[k].fromStage || frames[k].group != frames[frame].group)
            continue;
        const cv::Point2d step = frames[k].place - frames[frame].place;
        const double distance = step.dot(step);
        if (distance < least) {
            least = distance;
            nearest = k;
        }
    }
    return nearest;
}

/// What else is known of the frames. Far weaker than pairs: it decides only where no pair does.
std::vector<Link> weakLinks(const std::vector<ScanFrame>& frames) {
    std::vector<Link> links;
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const ScanFrame& frame = frames[k];
        if (!frame.wanted) continue;
        if (frame.joins && frames[*frame.joins].wanted && frames[*frame.joins].group == frame.group) {
            links.push_back({*frame.joins, k, frame.offset, chainWeight});
        } else if (frame.fromStage) {
            const std::size_t other = nearestOther(frames, k);
            if (other != k) links.push_back({other, k, frame.place - frames[other].place, stageWeight});
        }
    }
    return links;
}

/// The least-squares problem of the frames that are wanted, the first one of every part held where it is.
class Network {
  public:
    Network(const std::vector<ScanFrame>& frames, const std::vector<MeasuredPair>& pairs)
        : parts_(frames.size()), weak_(weakLinks(frames)) {
        for (const MeasuredPair& pair : pairs) parts_.connect(pair.first, pair.second);
        for (const Link& link : weak_) parts_.connect(link.first, link.second);
        unknowns_.assign(frames.size(), -1);
        for (std::size_t k = 0; k < frames.size(); ++k)
            if (frames[k].wanted && parts_.of(k) != k) unknowns_[k] = count_++;
    }

    /// @param weights  of the pairs
    void solve(const std::vector<MeasuredPair>& pairs, const std::vector<double>& weights,
               std::vector<cv::Point2d>& places) {
        if (count_ == 0) return;
        entries_.clear();
        right_ = Places::Zero(count_, 2);
        for (std::size_t k = 0; k < pairs.size(); ++k)
            add({pairs[k].first, pairs[k].second, pairs[k].offset, weights[k]}, places);
        for (const Link& link : weak_) add(link, places);
        Matrix normal(count_, count_);
        normal.setFromTriplets(entries_.begin(), entries_.end());
        const Eigen::SimplicialLDLT<Matrix> factors(normal);
        if (factors.info() != Eigen::Success) throw std::runtime_error("the positions have no solution");
        const Places solved = factors.solve(right_);
        for (std::size_t k = 0; k < places.size(); ++k)
            if (unknowns_[k] >= 0) places[k] = {solved(unknowns_[k], 0), solved(unknowns_[k], 1)};
    }

    /// Moves every part by the median of what its frames have moved, so that no single one decides where it lies.
    void centre(const std::vector<ScanFrame>& frames, std::vector<cv::Point2d>& places) {
        std::vector<std::vector<double>> across(places.size());
        std::vector<std::vector<double>> down(places.size());
        for (std::size_t k = 0; k < places.size(); ++k) {
            if (!frames[k].wanted) continue;
            across[parts_.of(k)].push_back(frames[k].place.x - places[k].x);
            down[parts_.of(k)].push_back(frames[k].place.y - places[k].y);
        }
        std::vector<cv::Point2d> steps(places.size());
        for (std::size_t k = 0; k < places.size(); ++k)
            if (!across[k].empty()) steps[k] = {medianOf(across[k]), medianOf(down[k])};
        for (std::size_t k = 0; k < places.size(); ++k)
            if (frames[k].wanted) places[k] += steps[parts_.of(k)];
    }

  private:
    static double medianOf(std::vector<double>& values) {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    void add(const Link& link, const std::vector<cv::Point2d>& places) {
        // A pair that counts for nothing still keeps the matrix regular.
        const double weight = std::max(link.weight, 1e-9);
        const std::ptrdiff_t a = unknowns_[link.first];
        const std::ptrdiff_t b = unknowns_[link.second];
        addEnd(a, weight, b < 0 ? places[link.second] - link.offset : -link.offset);
        addEnd(b, weight, a < 0 ? places[link.first] + link.offset : link.offset);
        if (a < 0 || b < 0) return;
        entries_.emplace_back(a, b, -weight);
        entries_.emplace_back(b, a, -weight);
    }

    void addEnd(std::ptrdiff_t unknown, double weight, const cv::Point2d& value) {
        if (unknown < 0) return;
        entries_.emplace_back(unknown, unknown, weight);
        right_(unknown, 0) += weight * value.x;
        right_(unknown, 1) += weight * value.y;
    }

    Parts parts_;
    std::vector<Link> weak_;
    std::vector<std::ptrdiff_t> unknowns_;  // by frames; -1: held, or not wanted
    std::ptrdiff_t count_ = 0;
    std::vector<Eigen::Triplet<double, std::ptrdiff_t>> entries_;
    Places right_;
};

/// Geman and McClure's weights: near 1 for residuals far below the scale, falling with their fourth power above it.
std::vector<double> robustWeights(const std::vector<MeasuredPair>& pairs,
                                  const std::vector<cv::Point2d>& places, double scale) {
    std::vector<double> weights;
    weights.reserve(pairs.size());
    for (const MeasuredPair& pair : pairs) {
        const double relative = residualOf(pair.offset, places[pair.first], places[pair.second]) / scale;
        weights.push_back(pair.weight / std::pow(1 + relative * relative, 2));
    }
    return weights;
}

/// Without the pairs that lie too far off.
std::vector<double> finalWeights(std::vector<MeasuredPair>& pairs, const std::vector<cv::Point2d>& places) {
    std::vector<double> weights;
    weights.reserve(pairs.size());
    for (MeasuredPair& pair : pairs) {
        pair.residual = residualOf(pair.offset, places[pair.first], places[pair.second]);
        pair.dropped = pair.residual > largestResidual;
        weights.push_back(pair.dropped ? 0 : pair.weight);
    }
    return weights;
}

}  // namespace

void solvePositions(const std::vector<ScanFrame>& frames, std::vector<MeasuredPair>& pairs,
                    std::vector<cv::Point2d>& places) {
    Network network(frames, pairs);
    // From a scale at which every pair has a say to one at which wrong ones have none: which are wrong shows only by and by.
    for (const double scale : {64.0, 32.0, 16.0, 8.0, 4.0, 2.0, 1.0, 1.0})
        network.solve(pairs, robustWeights(pairs, places, scale), places);
    for (int round = 0; round < 3; ++round) network.solve(pairs, finalWeights(pairs, places), places);
    finalWeights(pairs, places);
    network.centre(frames, places);
}

double disagreement(const std::vector<MeasuredPair>& pairs, const std::vector<cv::Point2d>& places) {
    double sum = 0;
    std::size_t count = 0;
    for (const MeasuredPair& pair : pairs) {
        if (pair.dropped) continue;
        const double residual = residualOf(pair.offset, places[pair.first], places[pair.second]);
        sum += residual * residual;
        ++count;
    }
    return count == 0 ? 0 : std::sqrt(sum / static_cast<double>(count));
}

}  // namespace brantel::render
