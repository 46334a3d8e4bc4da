#include "light/light_equations.h"

#include <Eigen/Cholesky>
#include <Eigen/SparseCholesky>
#include <stdexcept>

namespace brantel::render {

namespace {

constexpr double usualGain = 0.3;   // a logarithm
constexpr double freePlane = 0.01;  // for the solution to be there where there is no mean

Eigen::Index at(int channel) {
    return Eigen::Index{channel} * LightEquations::perChannel;
}

}  // namespace

LightEquations::LightEquations(int channels, std::size_t frames, bool surfaces, bool gains)
    : surfaces_(surfaces), wantGains_(gains) {
    const Eigen::Index unknowns = at(channels);
    const auto count = static_cast<Eigen::Index>(frames);
    dense_.setZero(unknowns, unknowns);
    right_.setZero(unknowns);
    coupling_.setZero(count, unknowns);
    gainsRight_.setZero(count);
    weights_.setZero(unknowns);
    gains_.setZero(count);
    addPriors();
}

/// What nothing is known of stays 0.
void LightEquations::addPriors() {
    const Surface::Vector usual = Surface::usualWeights();
    for (Eigen::Index k = 0; k < dense_.rows(); ++k) {
        const Eigen::Index term = k % perChannel;
        dense_(k, k) += term < Surface::terms ? 1 / (usual[term] * usual[term]) : freePlane;
    }
}

void LightEquations::addCells(int channel, const std::vector<LightCell>& cells,
                              const Differences& differences, const Eigen::VectorXd& weights) {
    if (surfaces_) {
        const Differences weighted = weights.asDiagonal() * differences;
        dense_.block<Surface::terms, Surface::terms>(at(channel), at(channel)).noalias() +=
            differences.transpose() * weighted;
        Eigen::VectorXd ratios(differences.rows());
        for (Eigen::Index k = 0; k < ratios.size(); ++k)
            ratios[k] = cells[static_cast<std::size_t>(k)].ratio[static_cast<std::size_t>(channel)];
        right_.segment<Surface::terms>(at(channel)).noalias() += weighted.transpose() * ratios;
        for (Eigen::Index k = 0; k < ratios.size(); ++k)
            couple(channel, cells[static_cast<std::size_t>(k)], weighted.row(k));
    }
    for (std::size_t k = 0; k < cells.size(); ++k)
        tie(channel, cells[k], weights[static_cast<Eigen::Index>(k)]);
}

void LightEquations::couple(int channel, const LightCell& cell, const Surface::Row& weighted) {
    coupling_.block<1, Surface::terms>(static_cast<Eigen::Index>(cell.first), at(channel)) -= weighted;
    coupling_.block<1, Surface::terms>(static_cast<Eigen::Index>(cell.second), at(channel)) += weighted;
}

void LightEquations::tie(int channel, const LightCell& cell, double weight) {
    const double ratio = cell.ratio[static_cast<std::size_t>(channel)];
    const auto first = static_cast<Eigen::Index>(cell.first);
    const auto second = static_cast<Eigen::Index>(cell.second);
    if (ties_.empty() || ties_.back().first != first || ties_.back().second != second)
        ties_.push_back({first, second, 0});
    ties_.back().weight += weight;
    gainsRight_[first] -= weight * ratio;
    gainsRight_[second] += weight * ratio;
}

void LightEquations::addMean(int channel, const FramePoint& point, double value, double weight) {
    Eigen::Matrix<double, perChannel, 1> row;
    row << Surface::at(point), 1, point.x, point.y;
    dense_.block<perChannel, perChannel>(at(channel), at(channel)) += weight * row * row.transpose();
    right_.segment<perChannel>(at(channel)) += weight * value * row;
}

Eigen::SparseMatrix<double> LightEquations::gainsMatrix() const {
    std::vector<Eigen::Triplet<double>> entries;
    for (Eigen::Index k = 0; k < gains_.size(); ++k) entries.emplace_back(k, k, 1 / (usualGain * usualGain));
    for (const Tie& tie : ties_) {
        entries.emplace_back(tie.first, tie.first, tie.weight);
        entries.emplace_back(tie.second, tie.second, tie.weight);
        entries.emplace_back(tie.first, tie.second, -tie.weight);
        entries.emplace_back(tie.second, tie.first, -tie.weight);
    }
    Eigen::SparseMatrix<double> matrix(gains_.size(), gains_.size());
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

void LightEquations::solve() {
    if (!wantGains_) {
        weights_ = dense_.ldlt().solve(right_);
        return;
    }
    const Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> factors(gainsMatrix());
    if (factors.info() != Eigen::Success) throw std::runtime_error("the gains have no solution");
    if (surfaces_) {
        const Eigen::MatrixXd eliminated = factors.solve(coupling_);
        const Eigen::VectorXd alone = factors.solve(gainsRight_);
        weights_ = (dense_ - coupling_.transpose() * eliminated)
                       .ldlt()
                       .solve(right_ - coupling_.transpose() * alone);
    }
    gains_ = factors.solve(gainsRight_ - coupling_ * weights_);
}

Eigen::Ref<const Surface::Vector> LightEquations::surface(int channel) const {
    return weights_.segment<Surface::terms>(at(channel));
}

}  // namespace brantel::render
