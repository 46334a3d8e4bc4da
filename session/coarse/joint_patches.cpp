#include "coarse/joint_patches.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "coarse/places.h"

namespace brantel::session {

namespace {

// How often the lattice moves on when its best shift lies at its edge.
constexpr std::int32_t latticeMoves = 3;
// A patch counts with at most so many times the mean energy.
constexpr double energyCap = 2;
// A place less alike is given up: when the half of the patches with more structure says so the others are not
// compared, and the lattice does not move on.
constexpr double hopeless = 0.2;
// A patch agrees when its own correlation at the joint shift reaches this.
constexpr double leastVote = 0.4;

double quotient(double covariance, double energy, double currentEnergy) {
    const double product = energy * currentEnergy;
    return covariance > 0 && product > 0 ? std::min(covariance / std::sqrt(product), 1.0) : 0.0;
}

/// All patches of one place together.
class Joint {
  public:
    Joint(const LevelPair& level, const PatchPlan& plan, const PatchRoom& room, std::int32_t x,
          std::int32_t y)
        : lattice_(room.lattice) {
        const std::vector<PatchCorner> chosen = choosePatches(plan, room);
        patches_.reserve(chosen.size());
        for (const PatchCorner& corner : chosen) {
            if (!patches_.empty() && patches_.size() == chosen.size() / 2) {
                addUp();
                if (isHopeless()) return;
            }
            const PatchPlace place{corner.x, corner.y, corner.x - x, corner.y - y};
            patches_.emplace_back();
            comparePatch(level.previous, level.current, place, room.patch, lattice_, patches_.back());
        }
        addUp();
    }

    std::int32_t offsetX() const { return lattice_.x(best_); }
    std::int32_t offsetY() const { return lattice_.y(best_); }
    bool atEdge() const {
        return std::abs(offsetX()) == lattice_.radius || std::abs(offsetY()) == lattice_.radius;
    }

    bool isHopeless() const { return likeness_[index(best_)] < hopeless; }

    JointPeak peak() const {
        JointPeak peak;
        peak.found = true;
        peak.likeness = likeness_[index(best_)];
        peak.x = offsetX();
        peak.y = offsetY();
        if (!atEdge()) {
            peak.x += parabolaPeak(near(-1, 0), peak.likeness, near(1, 0));
            peak.y += parabolaPeak(near(0, -1), peak.likeness, near(0, 1));
            peak.beside = std::max({middle(1, 0), middle(0, 1), middle(1, 1), middle(1, -1)});
        } else {
            peak.beside = peak.likeness;
        }
        vote(peak);
        return peak;
    }

  private:
    static std::size_t index(std::int32_t i) { return static_cast<std::size_t>(i); }
    double near(std::int32_t x, std::int32_t y) const {
        return likeness_[index(best_ + y * lattice_.side() + x)];
    }
    /// The mean of both neighbours along a line.
    double middle(std::int32_t x, std::int32_t y) const { return (near(x, y) + near(-x, -y)) / 2; }
    double scaleOf(const PatchLikeness& patch) const {
        return patch.energy > mostEnergy_ ? mostEnergy_ / patch.energy : 1.0;
    }

    void addUp() {
        double energy = 0;
        for (const PatchLikeness& patch : patches_) energy += patch.energy;
        mostEnergy_ = energyCap * energy / static_cast<double>(patches_.size());
        PatchLikeness sum;
        for (const PatchLikeness& patch : patches_) {
            const double scale = scaleOf(patch);
            sum.energy += scale * patch.energy;
            for (std::size_t i = 0; i < index(lattice_.count()); ++i) {
                sum.covariance[i] += scale * patch.covariance[i];
                sum.currentEnergy[i] += scale * patch.currentEnergy[i];
            }
        }
        for (std::size_t i = 0; i < index(lattice_.count()); ++i)
            likeness_[i] = quotient(sum.covariance[i], sum.energy, sum.currentEnergy[i]);
        best_ = lattice_.centre();
        // Of equals the expected shift wins, then the first one.
        for (std::int32_t i = 0; i < lattice_.count(); ++i)
            if (likeness_[index(i)] > likeness_[index(best_)]) best_ = i;
    }

    void vote(JointPeak& peak) const {
        double sum = 0;
        double squares = 0;
        double agreeing = 0;
        for (const PatchLikeness& patch : patches_) {
            const double currentEnergy = patch.currentEnergy[index(best_)];
            const double weight = scaleOf(patch) * std::sqrt(patch.energy * currentEnergy);
            sum += weight;
            squares += weight * weight;
            if (quotient(patch.covariance[index(best_)], patch.energy, currentEnergy) >= leastVote)
                agreeing += weight;
        }
        if (!(sum > 0)) return;
        peak.votes = agreeing / sum;
        peak.support = sum * sum / squares;
    }

    Lattice lattice_;
    std::int32_t best_ = 0;
    double mostEnergy_ = 0;
    std::vector<PatchLikeness> patches_;
    LatticeValues likeness_{};
};

}  // namespace

JointPeak refine(const LevelPair& level, const PatchPlan& plan, double expectedX, double expectedY) {
    auto x = static_cast<std::int32_t>(std::floor(expectedX + 0.5));
    auto y = static_cast<std::int32_t>(std::floor(expectedY + 0.5));
    for (std::int32_t move = 0;; ++move) {
        PatchRoom room(level.previous, plan, x, y, plan.radius);
        if (!room.suffices()) room = PatchRoom(level.previous, plan, x, y, 1);
        if (!room.suffices()) return {};
        const Joint joint(level, plan, room, x, y);
        if (move == latticeMoves || !joint.atEdge() || joint.isHopeless()) {
            JointPeak peak = joint.peak();
            peak.x += x;
            peak.y += y;
            return peak;
        }
        x += joint.offsetX();
        y += joint.offsetY();
    }
}

}  // namespace brantel::session
