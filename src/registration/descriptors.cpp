#include "registration/descriptors.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/crew.h"
#include "common/log.h"

namespace brantel {

namespace {

constexpr double pi = 3.141592653589793;
constexpr std::int32_t cellSide = 4;
constexpr std::int32_t binCount = 8;
constexpr std::int32_t degreesPerBin = 45;

/// Whole degrees of the angle between the gradient and the x axis, 0 to 90; gx is not 0. The arctangent is
/// taken in double and rounded: the single-precision one differs in its last bit between run-time libraries.
std::int32_t acuteDegrees(std::int32_t gx, std::int32_t gy) {
    const float ratio = std::fabs(static_cast<float>(gy) / static_cast<float>(gx));
    const float half = static_cast<float>(std::atan(static_cast<double>(ratio))) * 0.5F;
    return static_cast<std::int32_t>(static_cast<float>(static_cast<double>(half) / pi * 360.0));
}

/// acute is the angle of the components without their signs; with gx = 0 there is none.
std::int32_t degrees(std::int32_t gx, std::int32_t gy, std::int32_t acute) {
    if (gx == 0) return gy == 0 ? 0 : (gy > 0 ? 90 : 270);
    if (gx > 0) return gy > 0 ? acute : (acute == 0 ? 0 : 360 - acute);
    return gy > 0 ? 180 - acute : 180 + acute;
}

struct GreyFrame {
    const std::uint8_t* pixels;
    std::int64_t rows;
    std::int64_t cols;

    /// The bounds are not symmetric: 2 pixels at the top and left, 1 at the bottom and right.
    bool hasGradient(std::int64_t r, std::int64_t c) const {
        return c >= 2 && c < cols - 1 && r >= 2 && r < rows - 1;
    }
};

/// Magnitude and bin of every gradient that two bytes' differences can have.
class GradientTable {
  public:
    GradientTable() {
        for (std::int32_t gy = 0; gy <= reach; ++gy)
            for (std::int32_t gx = 0; gx <= reach; ++gx) {
                // what takes time depends on the lengths of the components only
                const std::int32_t magnitude = gradientMagnitude(gx, gy);
                const std::int32_t acute = gx == 0 ? 0 : acuteDegrees(gx, gy);
                for (const std::int32_t x : {gx, -gx})
                    for (const std::int32_t y : {gy, -gy})
                        entries_[place(x, y)] = static_cast<std::uint16_t>(
                            magnitude * binCount + degrees(x, y, acute) / degreesPerBin);
            }
    }

    std::uint16_t at(std::int32_t gx, std::int32_t gy) const { return entries_[place(gx, gy)]; }

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

const GradientTable& gradientTable() {
    static const GradientTable table;
    return table;
}

/// Adds the gradients of the cell whose first pixel is (r0, c0).
template <bool everywhere>
void fillCell(const GreyFrame& frame, const GradientTable& table, std::int64_t r0, std::int64_t c0,
              std::uint16_t* bins) {
    for (std::int64_t r = r0; r < r0 + cellSide; ++r)
        for (std::int64_t c = c0; c < c0 + cellSide; ++c) {
            if (!everywhere && !frame.hasGradient(r, c)) continue;  // would add 0 to bin 0
            const std::uint8_t* p = frame.pixels + r * frame.cols + c;
            table.addTo(bins, p[2] - p[-2], p[2 * frame.cols] - p[-2 * frame.cols]);
        }
}

void describe(const GreyFrame& frame, const GradientTable& table, const CornerPoint& corner,
              std::int64_t half, std::uint16_t* descriptor, std::int32_t length) {
    const bool inside =
        frame.hasGradient(std::int64_t{corner.y} - half, std::int64_t{corner.x} - half) &&
        frame.hasGradient(std::int64_t{corner.y} + half + 2, std::int64_t{corner.x} + half + 2);
    const auto fill = inside ? fillCell<true> : fillCell<false>;
    std::int32_t place = 0;
    for (std::int64_t x0 = corner.x - half; x0 < corner.x + half; x0 += cellSide)
        for (std::int64_t y0 = corner.y - half; y0 < corner.y + half; y0 += cellSide) {
            if (place + binCount > length) return;
            std::uint16_t* bins = descriptor + place;
            std::memset(bins, 0, binCount * sizeof(std::uint16_t));
            fill(frame, table, y0, x0, bins);
            place += binCount;
        }
}

}  // namespace

std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy) {
    return static_cast<std::int32_t>(std::sqrt(static_cast<float>(gx * gx + gy * gy)));
}

std::int32_t gradientBin(std::int32_t gx, std::int32_t gy) {
    return degrees(gx, gy, gx == 0 ? 0 : acuteDegrees(gx, gy)) / degreesPerBin;
}

std::int32_t tabulatedGradient(std::int32_t gx, std::int32_t gy) {
    return gradientTable().at(gx, gy);
}

bool buildCornerDescriptors(const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out, WorkerPair* workers) {
    constexpr std::int64_t grain = 32;  // points handed out at a time
    if (frame == nullptr) {
        streamLine("src_in ptr is null");
        points.clear();
        return false;
    }
    const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(std::uint16_t);
    const GreyFrame grey{frame, rows, cols};
    const GradientTable& table = gradientTable();
    const auto count = static_cast<std::int64_t>(points.size());
    shareLoop(workers, count, grain, [&](std::int64_t first, std::int64_t last, std::int32_t hand) {
        std::uint16_t* own = scratch + std::int64_t{hand} * length;
        std::memset(own, 0, bytes);
        for (std::int64_t i = first; i < last; ++i) {
            describe(grey, table, points[static_cast<std::size_t>(i)], window >> 1, own, length);
            std::memcpy(out + i * length, own, bytes);
        }
    });
    points.clear();
    return true;
}

}  // namespace brantel
