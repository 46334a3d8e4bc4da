#include "pictures/tiff_writer.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "system/files.h"

namespace brantel::programs {

namespace {

enum Tag : std::uint16_t {
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    compression = 259,
    photometric = 262,
    stripOffsets = 273,
    samplesPerPixel = 277,
    rowsPerStrip = 278,
    stripByteCounts = 279
};

constexpr std::uint64_t mostPlainBytes = 0xF0000000;  // of pixels; the rest is for the tables
constexpr std::uint64_t stripBytes = 1 << 20;         // about so many; readers hold a strip in memory

/// The file: header, pixels, bits per sample, the strips' places, their sizes, directory. Numbers are as wide
/// as the kind of file has them, the lowest byte first.
class Layout {
  public:
    explicit Layout(const PictureInBands& picture)
        : width_(static_cast<std::uint64_t>(picture.size.width)),
          height_(static_cast<std::uint64_t>(picture.size.height)),
          channels_(static_cast<std::uint64_t>(picture.channels)),
          big_(pixelBytes() > mostPlainBytes),
          rowsEach_(
              std::clamp<std::uint64_t>(stripBytes / std::max<std::uint64_t>(1, rowBytes()), 1, height_)),
          strips_((height_ + rowsEach_ - 1) / rowsEach_) {}

    std::int32_t rowsEach() const { return static_cast<std::int32_t>(rowsEach_); }
    bool endsOdd() const { return pixelBytes() % 2 != 0; }

    std::vector<std::uint8_t> header() {
        bytes_ = {'I', 'I'};
        number(big_ ? 43 : 42, 2);
        if (big_) {
            number(word(), 2);
            number(0, 2);
        }
        number(directoryAt(), word());
        return std::move(bytes_);
    }

    std::vector<std::uint8_t> tables() {
        bytes_.clear();
        for (std::uint64_t k = 0; k < bitsSize / 2; ++k) number(8, 2);
        for (std::uint64_t k = 0; k < strips_; ++k) number(pixelsAt() + k * rowsEach_ * rowBytes(), word());
        for (std::uint64_t k = 0; k < strips_; ++k)
            number(std::min(rowsEach_, height_ - k * rowsEach_) * rowBytes(), word());
        directory();
        return std::move(bytes_);
    }

  private:
    static constexpr std::uint64_t bitsSize = 8;  // the longest list of bits per sample

    std::uint64_t word() const { return big_ ? 8 : 4; }
    std::uint64_t rowBytes() const { return width_ * channels_; }
    std::uint64_t pixelBytes() const { return rowBytes() * height_; }
    std::uint64_t pixelsAt() const { return big_ ? 16 : 8; }
    std::uint64_t bitsAt() const { return pixelsAt() + pixelBytes() + pixelBytes() % 2; }
    std::uint64_t offsetsAt() const { return bitsAt() + bitsSize; }
    std::uint64_t countsAt() const { return offsetsAt() + strips_ * word(); }
    std::uint64_t directoryAt() const { return countsAt() + strips_ * word(); }

    void directory() {
        number(9, big_ ? 8 : 2);
        entry(imageWidth, 1, width_);
        entry(imageLength, 1, height_);
        shortEntry(bitsPerSample, channels_, channels_ == 1 ? 8 : (big_ ? 0x000800080008 : bitsAt()));
        shortEntry(compression, 1, 1);
        shortEntry(photometric, 1, channels_ == 1 ? 1 : 2);
        entry(stripOffsets, strips_, strips_ == 1 ? pixelsAt() : offsetsAt());
        shortEntry(samplesPerPixel, 1, channels_);
        entry(rowsPerStrip, 1, rowsEach_);
        entry(stripByteCounts, strips_, strips_ == 1 ? pixelBytes() : countsAt());
        number(0, word());  // no further directory
    }

    /// An entry holds its number, or several if they fit, or else the place where they are.
    void entry(Tag tag, std::uint64_t count, std::uint64_t value) { put(tag, big_ ? 16 : 4, count, value); }
    void shortEntry(Tag tag, std::uint64_t count, std::uint64_t value) { put(tag, 3, count, value); }
    void put(Tag tag, std::uint64_t type, std::uint64_t count, std::uint64_t value) {
        number(tag, 2);
        number(type, 2);
        number(count, word());
        number(value, word());
    }

    void number(std::uint64_t value, std::uint64_t size) {
        for (std::uint64_t k = 0; k < size; ++k)
            bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * k)));
    }

    std::uint64_t width_, height_, channels_;
    bool big_;
    std::uint64_t rowsEach_, strips_;
    std::vector<std::uint8_t> bytes_;
};

/// TIFF wants red first.
void redFirst(const std::uint8_t* from, std::vector<std::uint8_t>& to) {
    for (std::size_t i = 0; i + 2 < to.size(); i += 3) {
        to[i] = from[i + 2];
        to[i + 1] = from[i + 1];
        to[i + 2] = from[i];
    }
}

void writeBand(NewFile& file, const cv::Mat& band) {
    std::vector<std::uint8_t> row(static_cast<std::size_t>(band.cols) * band.elemSize());
    for (std::int32_t r = 0; r < band.rows; ++r) {
        const std::uint8_t* samples = band.ptr(r);
        if (band.channels() == 3) {
            redFirst(samples, row);
            samples = row.data();
        }
        file.write(samples, row.size());
    }
}

}  // namespace

void writeTiff(const std::filesystem::path& path, const PictureInBands& picture) {
    NewFile file(path);
    Layout layout(picture);
    const std::vector<std::uint8_t> header = layout.header();
    file.write(header.data(), header.size());
    for (std::int32_t row = 0; row < picture.size.height; row += layout.rowsEach())
        writeBand(file, picture.band(row, std::min(layout.rowsEach(), picture.size.height - row)));
    if (layout.endsOdd()) file.write("", 1);  // tables begin at even places
    const std::vector<std::uint8_t> tables = layout.tables();
    file.write(tables.data(), tables.size());
    file.commit();
}

void writeTiff(const std::filesystem::path& path, const cv::Mat& picture) {
    const auto band = [&](std::int32_t row, std::int32_t rows) { return picture.rowRange(row, row + rows); };
    writeTiff(path, PictureInBands{picture.size(), picture.channels(), band});
}

}  // namespace brantel::programs
