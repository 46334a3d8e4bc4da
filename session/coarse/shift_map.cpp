#include "coarse/shift_map.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core.hpp>

namespace brantel::session {

namespace {

// A shift leaves at least 3 % of each side and 4 % of the area.
constexpr std::int32_t reachPercent = 97;
constexpr std::int32_t leastAreaPercent = 4;
// An overlap with less than this part of the mean energy says nothing.
constexpr std::int32_t leastEnergyPercent = 2;

cv::Mat matrixOf(std::vector<double>& elements, std::int32_t rows, std::int32_t cols) {
    return {rows, cols, CV_64F, elements.data()};
}

cv::Mat matrixOf(const std::vector<double>& elements, std::int32_t rows, std::int32_t cols) {
    return {rows, cols, CV_64F, const_cast<double*>(elements.data())};  // only read
}

std::int32_t reachOf(std::int32_t side) {
    return static_cast<std::int32_t>(std::int64_t{side} * reachPercent / 100);
}

/// No shift within reach wraps around. cv::dft refuses single columns.
std::int32_t paddedSide(std::int32_t needed) {
    return cv::getOptimalDFTSize(std::max(needed, 2));
}

}  // namespace

ShiftMap::ShiftMap(const Level& level)
    : level_(level),
      reachX_(reachOf(level.cols)),
      reachY_(reachOf(level.rows)),
      paddedRows_(paddedSide(level.rows + reachY_)),
      paddedCols_(paddedSide(level.cols + reachX_)) {}

void ShiftMap::makeSpectrum(const std::vector<std::int8_t>& flat, std::vector<double>& spectrum) {
    padded_.assign(static_cast<std::size_t>(paddedRows_) * paddedCols_, 0.0);
    for (std::int32_t y = 0; y < level_.rows; ++y)
        std::copy_n(flat.data() + std::int64_t{y} * level_.cols, level_.cols,
                    padded_.data() + std::int64_t{y} * paddedCols_);
    std::vector<double> made(padded_.size());
    cv::Mat to = matrixOf(made, paddedRows_, paddedCols_);
    cv::dft(matrixOf(padded_, paddedRows_, paddedCols_), to, 0, level_.rows);
    spectrum.swap(made);
}

void ShiftMap::makeEnergies(const std::vector<std::int8_t>& flat, std::vector<std::int32_t>& energies) const {
    const std::int64_t stride = level_.cols + 1;
    energies.assign(static_cast<std::size_t>(stride * (level_.rows + 1)), 0);
    for (std::int32_t y = 0; y < level_.rows; ++y) {
        const std::int8_t* from = flat.data() + std::int64_t{y} * level_.cols;
        const std::int32_t* above = energies.data() + y * stride;
        std::int32_t* to = energies.data() + (y + 1) * stride;
        std::int32_t sum = 0;
        for (std::int32_t x = 0; x < level_.cols; ++x) {
            sum += from[x] * from[x];
            to[x + 1] = above[x + 1] + sum;
        }
    }
}

/// Correlations of whole numbers are whole numbers: whatever way a transform rounds, the nearest one is the same.
void ShiftMap::correlate(const Comparable& previous, const Comparable& current) {
    padded_.resize(static_cast<std::size_t>(paddedRows_) * paddedCols_);
    products_.resize(padded_.size());
    cv::Mat product = matrixOf(padded_, paddedRows_, paddedCols_);
    cv::Mat correlation = matrixOf(products_, paddedRows_, paddedCols_);
    cv::mulSpectrums(matrixOf(previous.spectrum, paddedRows_, paddedCols_),
                     matrixOf(current.spectrum, paddedRows_, paddedCols_), product, 0, true);
    cv::dft(product, correlation, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
}

void ShiftMap::fillRow(const Comparable& previous, const Comparable& current, std::int32_t y) {
    const std::int32_t cols = level_.cols;
    const std::int32_t stride = cols + 1;
    const std::int32_t height = level_.rows - std::abs(y);
    const std::int32_t* top = previous.energies.data() + std::int64_t{std::max(0, y)} * stride;
    const std::int32_t* currentTop = current.energies.data() + std::int64_t{std::max(0, -y)} * stride;
    const auto rowRange = [&](const std::int32_t* upper, std::int32_t x) {
        return upper[std::int64_t{height} * stride + x] - upper[x];
    };
    const double leastShare = leastEnergyPercent / (100.0 * static_cast<double>(level_.pixels()));
    const double leastDensity = leastShare * previous.energies.back();
    const double leastCurrentDensity = leastShare * current.energies.back();
    const double* correlations = products_.data() + std::int64_t{y < 0 ? y + paddedRows_ : y} * paddedCols_;
    double* to = likeness_.data() + std::int64_t{y + reachY_} * (2 * reachX_ + 1) + reachX_;
    for (std::int32_t x = -reachX_; x <= reachX_; ++x) {
        const std::int32_t width = cols - std::abs(x);
        const std::int32_t left = std::max(0, x);
        const std::int32_t currentLeft = std::max(0, -x);
        const std::int64_t area = std::int64_t{width} * height;
        const double energy = rowRange(top, left + width) - rowRange(top, left);
        const double currentEnergy =
            rowRange(currentTop, currentLeft + width) - rowRange(currentTop, currentLeft);
        const bool counts = 100 * area >= leastAreaPercent * level_.pixels() && energy > 0 &&
                            currentEnergy > 0 && energy >= leastDensity * static_cast<double>(area) &&
                            currentEnergy >= leastCurrentDensity * static_cast<double>(area);
        const double sum = std::floor(correlations[x < 0 ? x + paddedCols_ : x] + 0.5);
        to[x] = counts ? sum / std::sqrt(energy * currentEnergy) : 0.0;
    }
}

void ShiftMap::fill(const Comparable& previous, const Comparable& current) {
    correlate(previous, current);
    likeness_.resize(static_cast<std::size_t>(2 * reachX_ + 1) * (2 * reachY_ + 1));
    for (std::int32_t y = -reachY_; y <= reachY_; ++y) fillRow(previous, current, y);
}

}  // namespace brantel::session
