// How alike two coarse pictures are at every shift.
#pragma once

#include <cstdint>
#include <vector>

#include "coarse/scales.h"

namespace brantel::session {

/// What every comparison of a picture needs again.
struct Comparable {
    const std::vector<double>& spectrum;
    const std::vector<std::int32_t>& energies;
};

/// Normalised cross-correlations of two pictures of one size, one value per shift. A phase correlation would be no
/// cheaper, and its wrap-around and noise cost more than its sharp peak brings.
class ShiftMap {
  public:
    explicit ShiftMap(const Level& level);

    /// The zero-padded picture's spectrum, as cv::dft packs it.
    void makeSpectrum(const std::vector<std::int8_t>& flat, std::vector<double>& spectrum);
    /// Sums of the squares above and left of every pixel, (rows + 1) x (cols + 1).
    void makeEnergies(const std::vector<std::int8_t>& flat, std::vector<std::int32_t>& energies) const;

    /// Fills the map: the likeness at (x, y) is that of the pixels of previous with those of current that lie
    /// x columns to the left of and y rows above them.
    void fill(const Comparable& previous, const Comparable& current);

    /// Shifts from -reachX() to reachX() and from -reachY() to reachY() are in the map.
    std::int32_t reachX() const { return reachX_; }
    std::int32_t reachY() const { return reachY_; }
    /// -1 to 1; 0 where too little overlaps or where the overlap is empty.
    double at(std::int32_t x, std::int32_t y) const { return row(y)[x]; }
    /// The values of one y, to be indexed by x.
    const double* row(std::int32_t y) const {
        return likeness_.data() + std::int64_t{y + reachY_} * (2 * reachX_ + 1) + reachX_;
    }

  private:
    void correlate(const Comparable& previous, const Comparable& current);
    void fillRow(const Comparable& previous, const Comparable& current, std::int32_t y);

    Level level_;
    std::int32_t reachX_;
    std::int32_t reachY_;
    std::int32_t paddedRows_;
    std::int32_t paddedCols_;
    std::vector<double> padded_;    // scratch of the transforms
    std::vector<double> products_;  // of the spectra; then the correlations
    std::vector<double> likeness_;
};

}  // namespace brantel::session
