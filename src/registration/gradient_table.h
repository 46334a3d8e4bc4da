// Magnitude and direction of grey gradients, as descriptors count them.
#pragma once

#include <cstdint>

namespace brantel {

/// Directions: bin b covers 45 b to 45 b + 44 whole degrees.
constexpr std::int32_t binCount = 8;

/// Magnitude and bin of every gradient that two bytes' differences can have, components from -255 to 255.
class GradientTable {
  public:
    GradientTable();

    /// binCount * truncated length + bin of its direction.
    std::uint16_t at(std::int32_t gx, std::int32_t gy) const { return entries_[place(gx, gy)]; }

    /// Adds a gradient's length to the bin of its direction.
    void addTo(std::uint16_t* bins, std::int32_t gx, std::int32_t gy) const {
        const std::uint16_t entry = at(gx, gy);
        // A cell holds at most 16 * 360, so neither the float sum nor the 16 bits ever round or wrap.
        bins[entry % binCount] = static_cast<std::uint16_t>(bins[entry % binCount] + entry / binCount);
    }

  private:
    static constexpr std::int32_t reach = 255;
    static constexpr std::int32_t side = 2 * reach + 1;
    static std::int32_t place(std::int32_t gx, std::int32_t gy) { return (gy + reach) * side + gx + reach; }

    std::uint16_t entries_[side * side];
};

/// The process's one table, made when it is first asked for.
const GradientTable& gradientTable();

}  // namespace brantel
