#include "reference/descriptors.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace brantel::reference {

namespace {

constexpr double pi = 3.141592653589793;
constexpr std::int32_t cellSide = 4;
constexpr std::int32_t binCount = 8;

/// Whole degrees of the angle between the gradient and the x axis, 0 to 90; gx is not 0. The arctangent is taken in
/// double and rounded: the single-precision one differs in its last bit between run-time libraries.
std::int32_t acuteDegrees(std::int32_t gx, std::int32_t gy) {
    const float ratio = std::fabs(static_cast<float>(gy) / static_cast<float>(gx));
    const float half = static_cast<float>(std::atan(static_cast<double>(ratio))) * 0.5F;
    return static_cast<std::int32_t>(static_cast<float>(static_cast<double>(half) / pi * 360.0));
}

std::int32_t degrees(std::int32_t gx, std::int32_t gy) {
    if (gx == 0) return gy == 0 ? 0 : (gy > 0 ? 90 : 270);
    const std::int32_t acute = acuteDegrees(gx, gy);
    if (gx > 0) return gy > 0 ? acute : (acute == 0 ? 0 : 360 - acute);
    return gy > 0 ? 180 - acute : 180 + acute;
}

struct GreyFrame {
    const std::uint8_t* pixels;
    std::int64_t rows;
    std::int64_t cols;

    /// Adds the gradient of a pixel. The bounds are not symmetric: 2 pixels at the top and left, 1 at the bottom and
    /// right; beyond them the gradient is 0.
    void addGradient(std::int64_t r, std::int64_t c, std::uint16_t* bins) const {
        if (c < 2 || c >= cols - 1 || r < 2 || r >= rows - 1) return;
        const std::uint8_t* p = pixels + r * cols + c;
        const std::int32_t gx = p[2] - p[-2];
        const std::int32_t gy = p[2 * cols] - p[-2 * cols];
        // A cell holds at most 16 * 360, so neither the float sum nor the 16 bits ever round or wrap.
        std::uint16_t& bin = bins[gradientBin(gx, gy)];
        bin = static_cast<std::uint16_t>(bin + gradientMagnitude(gx, gy));
    }
};

void describe(const GreyFrame& frame, const CornerPoint& corner, std::int64_t half, std::uint16_t* descriptor,
              std::int32_t length) {
    std::int32_t place = 0;
    for (std::int64_t x0 = corner.x - (half - 1); x0 <= corner.x + half; x0 += cellSide)
        for (std::int64_t y0 = corner.y - (half - 1); y0 <= corner.y + half; y0 += cellSide) {
            if (place + binCount > length) return;
            std::uint16_t* bins = descriptor + place;
            std::memset(bins, 0, binCount * sizeof(std::uint16_t));
            for (std::int64_t c = x0 - 1; c <= x0 + 2; ++c)
                for (std::int64_t r = y0 - 1; r <= y0 + 2; ++r) frame.addGradient(r, c, bins);
            place += binCount;
        }
}

}  // namespace

std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy) {
    return static_cast<std::int32_t>(std::sqrt(static_cast<float>(gx * gx + gy * gy)));
}

std::int32_t gradientBin(std::int32_t gx, std::int32_t gy) {
    return degrees(gx, gy) / 45;
}

bool buildCornerDescriptors(const Log& log, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out) {
    if (frame == nullptr) {
        log.streamLine("src_in ptr is null");
        points.clear();
        return false;
    }
    const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(std::uint16_t);
    std::memset(scratch, 0, bytes);
    const GreyFrame grey{frame, rows, cols};
    for (const CornerPoint& point : points) {
        describe(grey, point, window >> 1, scratch, length);
        std::memcpy(out, scratch, bytes);
        out += length;
    }
    points.clear();
    return true;
}

}  // namespace brantel::reference
