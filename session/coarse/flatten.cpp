#include "coarse/flatten.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace brantel::session {

namespace {

constexpr std::int32_t blurRadius = 6;
constexpr double clipAtDeviations = 2;
constexpr double full = 127;
// The picture's values, sixteenths of grey levels, are refined once more: room for the blur's fractions.
constexpr std::int32_t finer = 4;
// Below it, in the same units, there is nothing but rounding.
constexpr double leastDeviation = 2;

/// Rounds half up. Values are far smaller than the offset, which makes them positive: the conversion drops the
/// fraction of a positive number on every machine.
std::int32_t rounded(double value) {
    constexpr std::int32_t offset = 1 << 26;
    return static_cast<std::int32_t>(value + (offset + 0.5)) - offset;
}

/// Coordinates of a side's pixels, and their squares without the mean: orthogonal over the side.
struct Axis {
    std::vector<std::int32_t> linear;
    std::vector<std::int32_t> square;
    double linearNorm = 0;
    double squareNorm = 0;

    explicit Axis(std::int32_t side)
        : linear(static_cast<std::size_t>(side)), square(static_cast<std::size_t>(side)) {
        for (std::int32_t k = 0; k < side; ++k) {
            const std::int32_t a = 2 * k - (side - 1);
            const auto i = static_cast<std::size_t>(k);
            linear[i] = a;
            square[i] = 3 * a * a - (side * side - 1);
            linearNorm += static_cast<double>(a) * a;
            squareNorm += static_cast<double>(square[i]) * square[i];
        }
    }
};

double share(std::int64_t sum, double norm) {
    return norm > 0 ? static_cast<double>(sum) / norm : 0.0;
}

/// The least-squares surface of second order. Its terms are orthogonal, so each has a coefficient of its own.
class Surface {
  public:
    Surface(const std::vector<std::int32_t>& picture, std::int32_t rows, std::int32_t cols)
        : across_(cols), down_(rows) {
        std::int64_t constant = 0, x = 0, y = 0, xx = 0, yy = 0, xy = 0;
        const std::int32_t* row = picture.data();
        for (std::size_t r = 0; r < down_.linear.size(); ++r, row += cols) {
            std::int64_t sum = 0, byLinear = 0, bySquare = 0;
            for (std::size_t c = 0; c < across_.linear.size(); ++c) {
                sum += row[c];
                byLinear += std::int64_t{row[c]} * across_.linear[c];
                bySquare += std::int64_t{row[c]} * across_.square[c];
            }
            constant += sum;
            x += byLinear;
            xx += bySquare;
            y += sum * down_.linear[r];
            yy += sum * down_.square[r];
            xy += byLinear * down_.linear[r];
        }
        constant_ = share(constant, static_cast<double>(rows) * cols);
        x_ = share(x, rows * across_.linearNorm);
        y_ = share(y, cols * down_.linearNorm);
        xx_ = share(xx, rows * across_.squareNorm);
        yy_ = share(yy, cols * down_.squareNorm);
        xy_ = share(xy, across_.linearNorm * down_.linearNorm);
    }

    void subtractFrom(std::vector<std::int32_t>& picture) const {
        std::int32_t* row = picture.data();
        for (std::size_t r = 0; r < down_.linear.size(); ++r, row += across_.linear.size()) {
            const double start = constant_ + y_ * down_.linear[r] + yy_ * down_.square[r];
            const double slope = x_ + xy_ * down_.linear[r];
            for (std::size_t c = 0; c < across_.linear.size(); ++c)
                row[c] -= rounded(start + slope * across_.linear[c] + xx_ * across_.square[c]);
        }
    }

  private:
    Axis across_;
    Axis down_;
    double constant_, x_, y_, xx_, yy_, xy_;
};

/// 1 / how many of the 2 * blurRadius + 1 neighbours of a pixel lie within its line.
double shareOfNeighbours(std::int32_t k, std::int32_t count) {
    return 1.0 / (std::min(count - 1, k + blurRadius) - std::max(0, k - blurRadius) + 1);
}

/// Adds a row, or takes it away.
void addRow(const std::int32_t* row, std::int32_t cols, std::int32_t sign, std::int32_t* sums) {
    for (std::int32_t x = 0; x < cols; ++x) sums[x] += sign * row[x];
}

/// Means over the neighbours in the same column; those beyond the borders do not count.
void blurDown(const std::vector<std::int32_t>& from, std::int32_t rows, std::int32_t cols,
              std::vector<std::int32_t>& to) {
    std::vector<std::int32_t> sums(static_cast<std::size_t>(cols));
    const auto row = [&](std::int32_t y) { return from.data() + std::int64_t{y} * cols; };
    for (std::int32_t y = 0; y < std::min(blurRadius, rows); ++y) addRow(row(y), cols, 1, sums.data());
    for (std::int32_t y = 0; y < rows; ++y) {
        if (y + blurRadius < rows) addRow(row(y + blurRadius), cols, 1, sums.data());
        if (y > blurRadius) addRow(row(y - blurRadius - 1), cols, -1, sums.data());
        const double share = shareOfNeighbours(y, rows);
        std::int32_t* means = to.data() + std::int64_t{y} * cols;
        for (std::int32_t x = 0; x < cols; ++x) means[x] = rounded(share * sums[static_cast<std::size_t>(x)]);
    }
}

/// The same along the rows.
void blurAcross(const std::vector<std::int32_t>& from, std::int32_t rows, std::int32_t cols,
                std::vector<std::int32_t>& to) {
    std::vector<double> shares(static_cast<std::size_t>(cols));
    for (std::int32_t x = 0; x < cols; ++x) shares[static_cast<std::size_t>(x)] = shareOfNeighbours(x, cols);
    for (std::int32_t y = 0; y < rows; ++y) {
        const std::int32_t* row = from.data() + std::int64_t{y} * cols;
        std::int32_t* means = to.data() + std::int64_t{y} * cols;
        std::int32_t sum = 0;
        for (std::int32_t x = 0; x < std::min(blurRadius, cols); ++x) sum += row[x];
        for (std::int32_t x = 0; x < cols; ++x) {
            if (x + blurRadius < cols) sum += row[x + blurRadius];
            if (x > blurRadius) sum -= row[x - blurRadius - 1];
            means[x] = sum;
        }
        for (std::int32_t x = 0; x < cols; ++x)
            means[x] = rounded(shares[static_cast<std::size_t>(x)] * means[x]);
    }
}

}  // namespace

void flatten(const std::vector<std::int32_t>& picture, std::int32_t rows, std::int32_t cols,
             std::vector<std::int8_t>& flat) {
    std::vector<std::int32_t> detail(picture.size());
    std::transform(picture.begin(), picture.end(), detail.begin(),
                   [](std::int32_t value) { return finer * value; });
    Surface(detail, rows, cols).subtractFrom(detail);
    std::vector<std::int32_t> blurred(detail);
    std::vector<std::int32_t> across(detail.size());
    for (int pass = 0; pass < 2; ++pass) {
        blurAcross(blurred, rows, cols, across);
        blurDown(across, rows, cols, blurred);
    }
    std::int64_t energy = 0;
    for (std::size_t i = 0; i < detail.size(); ++i) {
        detail[i] -= blurred[i];
        energy += std::int64_t{detail[i]} * detail[i];
    }
    flat.assign(picture.size(), 0);
    const double deviation = std::sqrt(static_cast<double>(energy) / static_cast<double>(picture.size()));
    if (deviation < leastDeviation) return;
    const double scale = full / (clipAtDeviations * deviation);
    for (std::size_t i = 0; i < detail.size(); ++i)
        flat[i] = static_cast<std::int8_t>(rounded(std::clamp(detail[i] * scale, -full, full)));
}

}  // namespace brantel::session
