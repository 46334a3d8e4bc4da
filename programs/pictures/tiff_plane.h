// One plane of a TIFF page.
#pragma once

#include <cstdint>
#include <vector>

#include "pictures/tiff_samples.h"

namespace brantel::programs {

/// The samples of one plane as they are in the file, the rows one after the other without gaps.
class PlaneReader {
  public:
    PlaneReader(TIFF* page, const TiffFormat& format);

    std::size_t rowBytes() const { return rowBytes_; }
    std::size_t samplesTogether() const { return together_; }

    /// Empty when it is damaged.
    std::vector<std::uint8_t> read(std::uint16_t plane);

  private:
    bool readStrips(std::uint16_t plane, std::vector<std::uint8_t>& rows);
    bool readTiles(std::uint16_t plane, std::vector<std::uint8_t>& rows);

    TIFF* page_;
    TiffFormat format_;
    std::size_t together_;
    std::size_t rowBytes_;
};

}  // namespace brantel::programs
