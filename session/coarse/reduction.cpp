#include "coarse/reduction.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace brantel::session {

namespace {

/// Division by a number that stays the same, half up; exact for the sums of cells up to a thousand pixels wide.
class Divider {
  public:
    explicit Divider(std::uint32_t by) : reciprocal_((std::uint64_t{1} << 32U) / by + 1), half_(by / 2) {}
    std::uint32_t operator()(std::uint32_t sum) const {
        return static_cast<std::uint32_t>((std::uint64_t{sum + half_} * reciprocal_) >> 32U);
    }

  private:
    std::uint64_t reciprocal_;
    std::uint32_t half_;
};

/// Adds up the columns of some rows of a cell: of all, or of a few that lie evenly in it.
void sumRows(const std::uint8_t* first, std::int64_t stride, std::int32_t height, std::int32_t rows,
             std::vector<std::uint16_t>& sums) {
    std::fill(sums.begin(), sums.end(), std::uint16_t{0});
    for (std::int32_t k = 0; k < rows; ++k) {
        const std::uint8_t* row = first + (2 * k + 1) * height / (2 * rows) * stride;
        for (std::size_t x = 0; x < sums.size(); ++x) sums[x] = static_cast<std::uint16_t>(sums[x] + row[x]);
    }
}

/// Sums of so many neighbours each, scaled and divided. A width known to the compiler makes one pass of it.
template <std::int32_t fixedWidth, class T>
void meansOf(const std::uint16_t* sums, std::int32_t width, std::uint32_t scale, const Divider& divide,
             std::int32_t cells, T* means) {
    const std::int32_t step = fixedWidth > 0 ? fixedWidth : width;
    for (std::int32_t x = 0; x < cells; ++x, sums += step) {
        std::uint32_t sum = 0;
        for (std::int32_t k = 0; k < step; ++k) sum += sums[k];
        means[x] = static_cast<T>(divide(scale * sum));
    }
}

template <class T>
auto meansOfWidth(std::int32_t width) {
    using Means =
        void (*)(const std::uint16_t*, std::int32_t, std::uint32_t, const Divider&, std::int32_t, T*);
    constexpr std::array<Means, 7> fixed = {meansOf<0, T>, meansOf<1, T>, meansOf<2, T>, meansOf<3, T>,
                                            meansOf<4, T>, meansOf<5, T>, meansOf<6, T>};
    return width < static_cast<std::int32_t>(fixed.size()) ? fixed[static_cast<std::size_t>(width)]
                                                           : fixed[0];
}

/// Means of cells of factor x factor pixels, times scale, of so many rows per cell.
template <class T>
void reduce(const std::uint8_t* from, const Level& fromSize, std::int32_t factor, std::int32_t rowsPerCell,
            std::uint32_t scale, const Level& toSize, T* to) {
    const std::int32_t height = std::min(factor, fromSize.rows);
    const std::int32_t width = std::min(factor, fromSize.cols);
    const std::int32_t rows = std::min(height, rowsPerCell);
    const Divider divide(static_cast<std::uint32_t>(rows) * static_cast<std::uint32_t>(width));
    const auto means = meansOfWidth<T>(width);
    std::vector<std::uint16_t> sums(static_cast<std::size_t>(width) * static_cast<std::size_t>(toSize.cols));
    for (std::int32_t y = 0; y < toSize.rows; ++y, to += toSize.cols) {
        sumRows(from + std::int64_t{y} * factor * fromSize.cols, fromSize.cols, height, rows, sums);
        means(sums.data(), width, scale, divide, toSize.cols, to);
    }
}

}  // namespace

void reduceToMiddle(const std::uint8_t* grey, const Scales& scales, std::vector<std::uint8_t>& middle) {
    constexpr std::int32_t rowsPerCell = 3;
    middle.resize(static_cast<std::size_t>(scales.middle.pixels()));
    reduce(grey, {1, scales.rows, scales.cols}, scales.middle.factor, rowsPerCell, 1, scales.middle,
           middle.data());
}

void reduceToCoarse(const std::vector<std::uint8_t>& middle, const Scales& scales,
                    std::vector<std::int32_t>& coarse) {
    const std::int32_t factor = scales.coarse.factor / scales.middle.factor;
    coarse.resize(static_cast<std::size_t>(scales.coarse.pixels()));
    reduce(middle.data(), scales.middle, factor, factor, 16, scales.coarse, coarse.data());
}

}  // namespace brantel::session
