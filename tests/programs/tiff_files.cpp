#include "tiff_files.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

namespace brantel::programs::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

template <class Sample>
void put(Bytes& row, std::size_t k, double value) {
    const auto sample = static_cast<Sample>(value);
    std::memcpy(row.data() + k * sizeof sample, &sample, sizeof sample);
}

/// The highest bit first.
void putPacked(Bytes& row, std::size_t k, std::size_t bits, double value) {
    const auto number = static_cast<std::uint32_t>(value);
    for (std::size_t i = 0; i < bits; ++i) {
        const std::size_t at = k * bits + i;
        if ((number >> (bits - 1 - i)) & 1U) row[at / 8] |= static_cast<std::uint8_t>(0x80U >> (at % 8));
    }
}

void putSample(Bytes& row, std::size_t k, const TiffKind& kind, double value) {
    if (kind.format == SAMPLEFORMAT_IEEEFP && kind.bits > 16)
        kind.bits == 32 ? put<float>(row, k, value) : put<double>(row, k, value);
    else if (kind.format == SAMPLEFORMAT_INT)
        kind.bits == 8 ? put<std::int8_t>(row, k, value) : put<std::int16_t>(row, k, value);
    else if (kind.bits == 8)
        put<std::uint8_t>(row, k, value);
    else if (kind.bits == 16)
        put<std::uint16_t>(row, k, value);
    else if (kind.bits == 32)
        put<std::uint32_t>(row, k, value);
    else
        putPacked(row, k, static_cast<std::size_t>(kind.bits), value);
}

void describe(TIFF* file, const TiffKind& kind, const TiffPages& pages, int page) {
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, pages.width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, pages.height);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, kind.format);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, kind.planes);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, kind.colours);
    TIFFSetField(file, TIFFTAG_COMPRESSION, kind.compression);
    if (page == 0 && !pages.description.empty())
        TIFFSetField(file, TIFFTAG_IMAGEDESCRIPTION, pages.description.c_str());
    if (std::count(pages.reduced.begin(), pages.reduced.end(), page) > 0)
        TIFFSetField(file, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
}

/// One row of one plane; of a tile that reaches beyond the picture, too.
Bytes rowOf(const TiffKind& kind, int page, int row, int from, int width, int plane, const SampleOf& sample) {
    const int together = kind.planes == PLANARCONFIG_SEPARATE ? 1 : kind.samples;
    Bytes bytes((static_cast<std::size_t>(width) * together * kind.bits + 7) / 8);
    for (int c = 0; c < width; ++c)
        for (int s = 0; s < together; ++s)
            putSample(bytes, static_cast<std::size_t>(c) * together + s, kind,
                      sample(page, row, from + c, together == 1 ? plane : s));
    return bytes;
}

void writeRows(TIFF* file, const TiffKind& kind, const TiffPages& pages, int page, const SampleOf& sample) {
    const int planes = kind.planes == PLANARCONFIG_SEPARATE ? kind.samples : 1;
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, 7);
    for (int plane = 0; plane < planes; ++plane)
        for (int r = 0; r < pages.height; ++r) {
            Bytes row = rowOf(kind, page, r, 0, pages.width, plane, sample);
            TIFFWriteScanline(file, row.data(), r, plane);
        }
}

void writeTiles(TIFF* file, const TiffKind& kind, const TiffPages& pages, int page, const SampleOf& sample) {
    constexpr int side = 16;
    const int planes = kind.planes == PLANARCONFIG_SEPARATE ? kind.samples : 1;
    TIFFSetField(file, TIFFTAG_TILEWIDTH, side);
    TIFFSetField(file, TIFFTAG_TILELENGTH, side);
    for (int plane = 0; plane < planes; ++plane)
        for (int y = 0; y < pages.height; y += side)
            for (int x = 0; x < pages.width; x += side) {
                Bytes tile;
                for (int r = 0; r < side; ++r) {
                    const Bytes row = rowOf(kind, page, y + r, x, side, plane, sample);
                    tile.insert(tile.end(), row.begin(), row.end());
                }
                TIFFWriteTile(file, tile.data(), x, y, 0, plane);
            }
}

}  // namespace

void writeTiffFile(const std::string& name, const TiffKind& kind, const TiffPages& pages,
                   const SampleOf& sample) {
    TIFF* file = TIFFOpen(name.c_str(), "w");
    for (int page = 0; page < pages.count; ++page) {
        describe(file, kind, pages, page);
        (kind.tiled ? writeTiles : writeRows)(file, kind, pages, page, sample);
        TIFFWriteDirectory(file);
    }
    TIFFClose(file);
}

}  // namespace brantel::programs::test
