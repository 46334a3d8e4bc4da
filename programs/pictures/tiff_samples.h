// The samples of a TIFF page.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <string>

namespace brantel::programs {

/// How a page's samples are stored; the fields have libtiff's values.
struct TiffFormat {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samplesPerPixel = 1;
    std::uint16_t kind = SAMPLEFORMAT_UINT;
    std::uint16_t colours = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planes = PLANARCONFIG_CONTIG;

    /// Eight bits or less go through libtiff's own conversion to colours.
    bool deep() const { return bits > 8 || kind == SAMPLEFORMAT_INT; }
};

TiffFormat formatOf(TIFF* page);

/// What there is about the format that readSamples() cannot do, for instance "16-bit float samples"; "" when
/// it can.
std::string whyNotRead(const TiffFormat& format);

/// 1 or 3 channels (blue, green, red) of the depth stored; unsigned 32-bit samples as doubles. Empty when the
/// page is damaged.
cv::Mat readSamples(TIFF* page, const TiffFormat& format);

}  // namespace brantel::programs
