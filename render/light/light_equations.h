// The normal equations of flat field and gains.
#pragma once

#include <Eigen/SparseCore>
#include <cstddef>
#include <vector>

#include "light/surface.h"

namespace brantel::render {

/// Unknown are, in every channel, the weights of a surface and a plane under the mean of all frames, and a gain for every frame (a logarithm). Few
/// of the first and many of the second, which only frames that overlap connect: the gains are eliminated first.
class LightEquations {
  public:
    static constexpr int perChannel = Surface::terms + 3;

    LightEquations(int channels, std::size_t frames, bool surfaces, bool gains);

    /// A row for every cell: what the surfaces' terms differ by between its two places.
    using Differences = Eigen::Matrix<double, Eigen::Dynamic, Surface::terms>;

    /// For all cells ratio + gain(first) - gain(second) - surface(difference) shall be 0.
    void addCells(int channel, const std::vector<LightCell>& cells, const Differences& differences,
                  const Eigen::VectorXd& weights);
    /// surface(point) + plane(point) - value shall be 0. What the pictures show may well be brighter on one side all over the scan, so
    /// that the mean of the frames says nothing about a plane.
    void addMean(int channel, const FramePoint& point, double value, double weight);

    void solve();

    /// All 0 before solve().
    Eigen::Ref<const Surface::Vector> surface(int channel) const;
    double gain(std::size_t frame) const { return gains_[static_cast<Eigen::Index>(frame)]; }

  private:
    /// Two frames that overlap.
    struct Tie {
        Eigen::Index first;
        Eigen::Index second;
        double weight;
    };

    void addPriors();
    void couple(int channel, const LightCell& cell, const Surface::Row& weighted);
    void tie(int channel, const LightCell& cell, double weight);
    Eigen::SparseMatrix<double> gainsMatrix() const;

    bool surfaces_;
    bool wantGains_;
    Eigen::MatrixXd dense_;  // of the surfaces
    Eigen::VectorXd right_;
    Eigen::MatrixXd coupling_;  // frames x unknowns of the surfaces
    std::vector<Tie> ties_;     // of the gains; cells of the same two frames that come together are one
    Eigen::VectorXd gainsRight_;
    Eigen::VectorXd weights_;
    Eigen::VectorXd gains_;
};

}  // namespace brantel::render
