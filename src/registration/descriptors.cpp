#include "registration/descriptors.h"

#include <algorithm>
#include <cstring>

#include "common/parallel_for.h"
#include "common/tuning.h"
#include "registration/gradient_table.h"

namespace brantel {

namespace {

constexpr std::int32_t cellSide = 4;

struct GreyFrame {
    const std::uint8_t* pixels;
    std::int64_t rows;
    std::int64_t cols;

    /// The bounds are not symmetric: 2 pixels at the top and left, 1 at the bottom and right.
    bool hasGradient(std::int64_t r, std::int64_t c) const {
        return c >= 2 && c < cols - 1 && r >= 2 && r < rows - 1;
    }
};

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

bool buildCornerDescriptors(const Log& log, const std::uint8_t* frame, std::int32_t rows, std::int32_t cols,
                            std::int32_t length, std::int32_t window, std::vector<CornerPoint>& points,
                            std::uint16_t* scratch, std::uint16_t* out, WorkerPair* workers) {
    constexpr std::int64_t grain = 32;  // points handed out at a time
    if (frame == nullptr) {
        log.streamLine("src_in ptr is null");
        points.clear();
        return false;
    }
    const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(std::uint16_t);
    const GreyFrame grey{frame, rows, cols};
    const GradientTable& table = gradientTable();
    const auto count = static_cast<std::int64_t>(points.size());
    parallelFor(workers, count, grain, [&](std::int64_t first, std::int64_t last, std::int32_t thread) {
        std::uint16_t* own = scratch + std::int64_t{thread} * length;
        std::memset(own, 0, bytes);
        for (std::int64_t i = first; i < last; ++i) {
            describe(grey, table, points[static_cast<std::size_t>(i)], window >> 1, own, length);
            std::memcpy(out + i * length, own, bytes);
        }
    });
    points.clear();
    return true;
}

void describeCorners(const Log& log, FrameFeatures& features, const std::uint8_t* grey, std::int32_t rows,
                     std::int32_t cols, std::vector<std::uint16_t>& scratch, WorkerPair* workers) {
    const auto count = static_cast<std::int64_t>(features.corners.size());
    features.descriptors.ensure(std::max<std::int64_t>(count, 1) * descriptorLength);
    scratch.resize(static_cast<std::size_t>(loopThreads) * descriptorLength);
    features.consumed = features.corners;
    buildCornerDescriptors(log, grey, rows, cols, descriptorLength, descriptorWindow, features.consumed,
                           scratch.data(), features.descriptors.data(), workers);
}

}  // namespace brantel
