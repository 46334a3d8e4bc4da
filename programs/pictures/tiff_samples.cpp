#include "pictures/tiff_samples.h"

#include <cstring>
#include <opencv2/core.hpp>
#include <vector>

#include "pictures/tiff_plane.h"

namespace brantel::programs {

namespace {

constexpr std::uint64_t mostPixels = std::uint64_t{1} << 30;

std::size_t channelsOf(const TiffFormat& format) {
    return format.colours == PHOTOMETRIC_RGB ? 3 : 1;
}

std::string kindName(const TiffFormat& format) {
    const char* kind = format.kind == SAMPLEFORMAT_IEEEFP ? "float"
                       : format.kind == SAMPLEFORMAT_INT  ? "signed"
                       : format.kind == SAMPLEFORMAT_UINT ? "unsigned"
                                                          : "complex or unknown";
    return std::to_string(format.bits) + "-bit " + kind + " samples";
}

bool readableDepth(const TiffFormat& format) {
    switch (format.kind) {
        case SAMPLEFORMAT_UINT:
            return format.bits == 10 || format.bits == 12 || format.bits == 14 || format.bits == 16 ||
                   format.bits == 32;
        case SAMPLEFORMAT_INT:
            return format.bits == 8 || format.bits == 16 || format.bits == 32;
        case SAMPLEFORMAT_IEEEFP:
            return format.bits == 32 || format.bits == 64;
        default:
            return false;
    }
}

/// The k-th number of so many bits in a row, the highest bit first.
std::uint16_t packed(const std::uint8_t* row, std::size_t k, std::size_t bits) {
    std::uint32_t value = 0;
    for (std::size_t bit = k * bits; bit < (k + 1) * bits; ++bit)
        value = value << 1 | ((row[bit / 8] >> (7 - bit % 8)) & 1U);
    return static_cast<std::uint16_t>(value);
}

template <class Sample>
Sample stored(const std::uint8_t* row, std::size_t k) {
    Sample sample;
    std::memcpy(&sample, row + k * sizeof sample, sizeof sample);
    return sample;
}

template <class From, class To>
void copyPlane(const std::vector<std::uint8_t>& plane, std::size_t rowBytes, std::size_t together,
               std::size_t first, cv::Mat& picture, std::size_t channel, const TiffFormat& format) {
    const auto channels = static_cast<std::size_t>(picture.channels());
    const bool isPacked = format.bits < 8 * sizeof(From);
    for (std::int32_t r = 0; r < picture.rows; ++r) {
        const std::uint8_t* from = plane.data() + rowBytes * static_cast<std::size_t>(r);
        To* to = picture.ptr<To>(r) + channel;
        for (std::size_t c = 0; c < format.width; ++c) {
            const std::size_t k = c * together + first;
            to[c * channels] = static_cast<To>(isPacked ? static_cast<From>(packed(from, k, format.bits))
                                                        : stored<From>(from, k));
        }
    }
}

template <class From, class To = From>
cv::Mat readDeep(TIFF* page, const TiffFormat& format) {
    PlaneReader reader(page, format);
    const std::size_t channels = channelsOf(format);
    cv::Mat picture(static_cast<int>(format.height), static_cast<int>(format.width),
                    CV_MAKETYPE(cv::DataType<To>::depth, static_cast<int>(channels)));
    std::vector<std::uint8_t> plane;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const bool apart = reader.samplesTogether() == 1;
        if (apart || plane.empty()) plane = reader.read(static_cast<std::uint16_t>(channel));
        if (plane.empty()) return {};
        // The file has red first.
        copyPlane<From, To>(plane, reader.rowBytes(), reader.samplesTogether(), apart ? 0 : channel, picture,
                            channels - 1 - channel, format);
    }
    return picture;
}

cv::Mat readDeep(TIFF* page, const TiffFormat& format) {
    switch (format.kind) {
        case SAMPLEFORMAT_IEEEFP:
            return format.bits == 32 ? readDeep<float>(page, format) : readDeep<double>(page, format);
        case SAMPLEFORMAT_INT:
            if (format.bits == 8) return readDeep<std::int8_t>(page, format);
            return format.bits == 16 ? readDeep<std::int16_t>(page, format)
                                     : readDeep<std::int32_t>(page, format);
        default:
            return format.bits == 32 ? readDeep<std::uint32_t, double>(page, format)
                                     : readDeep<std::uint16_t>(page, format);
    }
}

/// The higher the number, the darker.
void invert(cv::Mat& picture, const TiffFormat& format) {
    if (format.kind != SAMPLEFORMAT_UINT) return;
    const double highest = format.bits == 32 ? 4294967295.0 : static_cast<double>((1 << format.bits) - 1);
    cv::subtract(cv::Scalar(highest), picture, picture);
}

/// Red, green, blue and alpha in the bytes of a number, the lowest first.
cv::Mat readShallow(TIFF* page, const TiffFormat& format) {
    std::vector<std::uint32_t> pixels(std::size_t{format.width} * format.height);
    constexpr int stopAtDamage = 1;
    if (TIFFReadRGBAImageOriented(page, format.width, format.height, pixels.data(), ORIENTATION_TOPLEFT,
                                  stopAtDamage) != 1)
        return {};
    const bool grey = format.colours == PHOTOMETRIC_MINISBLACK || format.colours == PHOTOMETRIC_MINISWHITE;
    cv::Mat picture(static_cast<int>(format.height), static_cast<int>(format.width),
                    grey ? CV_8UC1 : CV_8UC3);
    const std::uint32_t* pixel = pixels.data();
    for (std::int32_t r = 0; r < picture.rows; ++r) {
        std::uint8_t* to = picture.ptr(r);
        for (std::int32_t c = 0; c < picture.cols; ++c, ++pixel) {
            if (!grey) {
                *to++ = static_cast<std::uint8_t>(TIFFGetB(*pixel));
                *to++ = static_cast<std::uint8_t>(TIFFGetG(*pixel));
            }
            *to++ = static_cast<std::uint8_t>(TIFFGetR(*pixel));
        }
    }
    return picture;
}

}  // namespace

TiffFormat formatOf(TIFF* page) {
    TiffFormat format;
    TIFFGetField(page, TIFFTAG_IMAGEWIDTH, &format.width);
    TIFFGetField(page, TIFFTAG_IMAGELENGTH, &format.height);
    TIFFGetFieldDefaulted(page, TIFFTAG_BITSPERSAMPLE, &format.bits);
    TIFFGetFieldDefaulted(page, TIFFTAG_SAMPLESPERPIXEL, &format.samplesPerPixel);
    TIFFGetFieldDefaulted(page, TIFFTAG_SAMPLEFORMAT, &format.kind);
    TIFFGetFieldDefaulted(page, TIFFTAG_PLANARCONFIG, &format.planes);
    TIFFGetField(page, TIFFTAG_PHOTOMETRIC, &format.colours);
    if (format.kind == SAMPLEFORMAT_VOID) format.kind = SAMPLEFORMAT_UINT;
    return format;
}

std::string whyNotRead(const TiffFormat& format) {
    if (format.width == 0 || format.height == 0 || std::uint64_t{format.width} * format.height > mostPixels)
        return std::to_string(format.width) + " x " + std::to_string(format.height) + " pixels";
    if (!format.deep()) return "";
    if (!readableDepth(format)) return kindName(format);
    const bool grey = format.colours == PHOTOMETRIC_MINISBLACK || format.colours == PHOTOMETRIC_MINISWHITE;
    const bool colour = format.colours == PHOTOMETRIC_RGB;
    if (!grey && !colour)
        return kindName(format) + " in a colour model other than grey and RGB (" +
               std::to_string(format.colours) + ")";
    const std::size_t channels = channelsOf(format);
    const bool mayHaveAlpha = format.samplesPerPixel == channels || format.samplesPerPixel == channels + 1;
    if (!mayHaveAlpha) return std::to_string(format.samplesPerPixel) + " channels in every pixel";
    return "";
}

cv::Mat readSamples(TIFF* page, const TiffFormat& format) {
    if (!format.deep()) return readShallow(page, format);
    cv::Mat picture = readDeep(page, format);
    if (format.colours == PHOTOMETRIC_MINISWHITE && !picture.empty()) invert(picture, format);
    return picture;
}

}  // namespace brantel::programs
