#include "pictures/tiff_plane.h"

#include <algorithm>
#include <cstring>

namespace brantel::programs {

PlaneReader::PlaneReader(TIFF* page, const TiffFormat& format)
    : page_(page),
      format_(format),
      together_(format.planes == PLANARCONFIG_SEPARATE ? 1 : format.samplesPerPixel),
      rowBytes_((std::size_t{format.width} * together_ * format.bits + 7) / 8) {}

std::vector<std::uint8_t> PlaneReader::read(std::uint16_t plane) {
    std::vector<std::uint8_t> rows(rowBytes_ * format_.height);
    const bool complete = TIFFIsTiled(page_) != 0 ? readTiles(plane, rows) : readStrips(plane, rows);
    if (!complete) rows.clear();
    return rows;
}
bool PlaneReader::readStrips(std::uint16_t plane, std::vector<std::uint8_t>& rows) {
    std::uint32_t each = 0;
    TIFFGetFieldDefaulted(page_, TIFFTAG_ROWSPERSTRIP, &each);
    each = std::clamp<std::uint32_t>(each, 1, format_.height);
    for (std::uint32_t row = 0; row < format_.height; row += each) {
        const std::size_t bytes = rowBytes_ * std::min(each, format_.height - row);
        const tmsize_t count =
            TIFFReadEncodedStrip(page_, TIFFComputeStrip(page_, row, plane), rows.data() + rowBytes_ * row,
                                 static_cast<tmsize_t>(bytes));
        if (count != static_cast<tmsize_t>(bytes)) return false;
    }
    return true;
}
bool PlaneReader::readTiles(std::uint16_t plane, std::vector<std::uint8_t>& rows) {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(page_, TIFFTAG_TILEWIDTH, &width);
    TIFFGetField(page_, TIFFTAG_TILELENGTH, &height);
    const auto tileRow = static_cast<std::size_t>(TIFFTileRowSize(page_));
    std::vector<std::uint8_t> tile(static_cast<std::size_t>(TIFFTileSize(page_)));
    if (width == 0 || height == 0 || tile.size() < tileRow * height) return false;
    for (std::uint32_t y = 0; y < format_.height; y += height)
        for (std::uint32_t x = 0; x < format_.width; x += width) {
            if (TIFFReadTile(page_, tile.data(), x, y, 0, plane) < 0) return false;
            const std::size_t at = std::size_t{x} * together_ * format_.bits / 8;
            const std::size_t bytes = std::min(tileRow, rowBytes_ - at);
            for (std::uint32_t r = 0; r < std::min(height, format_.height - y); ++r)
                std::memcpy(rows.data() + rowBytes_ * (y + r) + at, tile.data() + tileRow * r, bytes);
        }
    return true;
}
}  // namespace brantel::programs
