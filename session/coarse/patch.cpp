#include "coarse/patch.h"

namespace brantel::session {

namespace {

constexpr std::int32_t largestWindow = largestPatch + 2 * largestRadius;
// Patches without their plane are kept in eighths of a grey level. The sum of their products with bytes stays
// below 32 x 32 x 128 x 8 x 255, which fits 32 bits.
constexpr std::int32_t fractionBits = 3;
constexpr double fraction = 1.0 / (1 << fractionBits);
constexpr std::int32_t planeBits = 11;  // of the plane's coefficients

using WindowPixels = std::array<std::int16_t, static_cast<std::size_t>(largestWindow) * largestWindow>;

/// The previous frame's patch without its plane. Its rows lie as far apart as the window's, with zeros between
/// them: one sum over all of it is the covariance.
struct Template {
    WindowPixels values{};
    std::int64_t sum = 0;      // of the values: rounding leaves a little
    std::int64_t squares = 0;  // of the values

    Template(const LevelView& view, const PatchPlace& place, const PieceSize& size, std::int32_t stride,
             const PlaneFit& fit) {
        readPiece(view, place.x, place.y, size, values.data(), stride);
        const Moments sums = momentsOf(values.data(), stride, size);
        const auto coefficient = [](std::int64_t product, std::int64_t norm) {
            return static_cast<std::int32_t>(product * (1 << planeBits) / norm);
        };
        const std::int32_t mean = coefficient(sums.values, fit.pixels);
        const std::int32_t slopeX = coefficient(sums.byColumn, fit.columnSquares);
        const std::int32_t slopeY = coefficient(sums.byRow, fit.rowSquares);
        for (std::int32_t r = 0; r < size.rows; ++r)
            subtractRow(values.data() + r * stride, size.cols, mean + slopeY * (2 * r - size.rows + 1),
                        slopeX);
    }

  private:
    void subtractRow(std::int16_t* row, std::int32_t cols, std::int32_t rowMean, std::int32_t slope) {
        constexpr std::int32_t drop = planeBits - fractionBits;
        constexpr std::int32_t half = 1 << (drop - 1);
        std::int32_t rowSum = 0;
        std::int32_t rowSquares = 0;
        for (std::int32_t c = 0; c < cols; ++c) {
            const std::int32_t plane = rowMean + slope * (2 * c - cols + 1);
            row[c] = static_cast<std::int16_t>((row[c] * (1 << planeBits) - plane + half) >> drop);
            rowSum += row[c];
            rowSquares += row[c] * row[c];
        }
        sum += rowSum;
        squares += rowSquares;
    }
};

std::int32_t productSum(const std::int16_t* a, const std::int16_t* b, std::int32_t count) {
    std::int32_t sum = 0;
    for (std::int32_t i = 0; i < count; ++i) sum += a[i] * b[i];
    return sum;
}

/// Moments of all patches of a window whose first rows are the same, by running sums.
class BandMoments {
  public:
    BandMoments(const std::int16_t* window, std::int32_t stride, const PieceSize& size)
        : row_(window), stride_(stride), size_(size) {
        for (std::int32_t r = 0; r < size.rows; ++r)
            for (std::int32_t c = 0; c < stride; ++c) {
                const std::int32_t value = window[r * stride + c];
                values_[index(c)] += value;
                squares_[index(c)] += value * value;
                byRow_[index(c)] += value * (2 * r - size.rows + 1);
            }
    }

    /// One row down.
    void advance() {
        const std::int16_t* leaving = row_;
        const std::int16_t* entering = row_ + size_.rows * stride_;
        const std::int32_t last = size_.rows - 1;
        for (std::int32_t c = 0; c < stride_; ++c) {
            const std::int32_t out = leaving[c];
            const std::int32_t in = entering[c];
            byRow_[index(c)] += last * (in + out) - 2 * (values_[index(c)] - out);
            values_[index(c)] += in - out;
            squares_[index(c)] += in * in - out * out;
        }
        row_ += stride_;
    }

    /// Sets the moments of the patch at every column from 0 to stride - size.cols.
    void patches(std::array<Moments, 2 * largestRadius + 1>& moments) const {
        Moments sums;
        std::int64_t byColumn = 0;  // columns counted from the window's left side, in pixels
        for (std::int32_t c = 0; c < stride_; ++c) {
            if (c >= size_.cols) {
                const std::size_t left = index(c - size_.cols);
                sums.values -= values_[left];
                sums.squares -= squares_[left];
                sums.byRow -= byRow_[left];
                byColumn -= std::int64_t{values_[left]} * (c - size_.cols);
            }
            sums.values += values_[index(c)];
            sums.squares += squares_[index(c)];
            sums.byRow += byRow_[index(c)];
            byColumn += std::int64_t{values_[index(c)]} * c;
            if (c < size_.cols - 1) continue;
            const std::int32_t first = c - size_.cols + 1;
            sums.byColumn = 2 * byColumn - (first + c) * sums.values;
            moments[index(first)] = sums;
        }
    }

  private:
    static std::size_t index(std::int32_t c) { return static_cast<std::size_t>(c); }

    const std::int16_t* row_;
    std::int32_t stride_;
    PieceSize size_;
    std::array<std::int32_t, largestWindow> values_{};
    std::array<std::int32_t, largestWindow> squares_{};
    std::array<std::int32_t, largestWindow> byRow_{};
};

}  // namespace

void comparePatch(const LevelView& previous, const LevelView& current, const PatchPlace& place,
                  const PieceSize& size, const Lattice& lattice, PatchLikeness& likeness) {
    const PieceSize windowSize{size.cols + 2 * lattice.radius, size.rows + 2 * lattice.radius};
    const std::int32_t stride = windowSize.cols;
    const PlaneFit fit(size);
    const Template patch(previous, place, size, stride, fit);
    WindowPixels window;
    readPiece(current, place.currentX - lattice.radius, place.currentY - lattice.radius, windowSize,
              window.data(), stride);

    likeness.energy = static_cast<double>(patch.squares) * fraction * fraction;
    const std::int32_t length = (size.rows - 1) * stride + size.cols;
    BandMoments band(window.data(), stride, size);
    std::array<Moments, 2 * largestRadius + 1> moments;
    for (std::int32_t top = 0; top < lattice.side(); ++top) {
        if (top > 0) band.advance();
        band.patches(moments);
        for (std::int32_t left = 0; left < lattice.side(); ++left) {
            // What lies further down and right belongs to a smaller shift.
            const auto i = static_cast<std::size_t>(lattice.count() - 1 - (top * lattice.side() + left));
            const Moments& sums = moments[static_cast<std::size_t>(left)];
            const std::int32_t products =
                productSum(patch.values.data(), window.data() + top * stride + left, length);
            const double meanPart =
                static_cast<double>(patch.sum * sums.values) / static_cast<double>(fit.pixels);
            likeness.covariance[i] = (products - meanPart) * fraction;
            likeness.currentEnergy[i] = fit.energy(sums);
        }
    }
}

}  // namespace brantel::session
