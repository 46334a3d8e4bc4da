// What is kept of a frame to compare it with others.
#pragma once

#include <cstdint>
#include <vector>

namespace brantel::session {

/// Two reduced pictures of a frame and, as a cache that can be given up, the spectrum and the energies of the
/// coarser one. CoarseMatcher fills it.
class CoarseFrame {
  public:
    bool hasSpectrum() const { return !spectrum_.empty(); }
    /// Gives up the spectrum and the energies; the next comparison makes them anew.
    void dropSpectrum();

  private:
    friend class CoarseMatcher;

    std::vector<std::uint8_t> middle_;    // grey values
    std::vector<std::int8_t> coarse_;     // what is left without the brightness of the surroundings
    std::vector<std::int32_t> energies_;  // sums of coarse_'s squares, see energyTable()
    std::vector<double> spectrum_;        // of coarse_, packed as cv::dft does it
};

}  // namespace brantel::session
