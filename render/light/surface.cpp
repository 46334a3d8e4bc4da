#include "light/surface.h"

#include <array>
#include <vector>

#include "light/flat_field.h"

namespace brantel::render {

namespace {

using Polynomials = std::array<double, Surface::order + 1>;

Polynomials legendre(double x) {
    Polynomials values{1, x};
    for (std::size_t n = 1; n + 1 < values.size(); ++n) {
        const auto k = static_cast<double>(n);
        values[n + 1] = ((2 * k + 1) * x * values[n] - k * values[n - 1]) / (k + 1);
    }
    return values;
}

/// Calls use(term, i, j) for every product of the i-th polynomial in x and the j-th one in y.
template <class Use>
void forTerms(Use&& use) {
    int term = 0;
    for (std::size_t sum = 1; sum <= Surface::order; ++sum)
        for (std::size_t i = 0; i <= sum; ++i) use(term++, i, sum - i);
}

}  // namespace

Surface::Vector Surface::at(const FramePoint& point) {
    const Polynomials across = legendre(point.x);
    const Polynomials down = legendre(point.y);
    Vector values;
    forTerms([&](int term, std::size_t i, std::size_t j) { values[term] = across[i] * down[j]; });
    return values;
}

Surface::Vector Surface::usualWeights() {
    constexpr std::array<double, order + 1> byOrder{0, 0.2, 0.3, 0.03, 0.02, 0.01, 0.005};
    Vector weights;
    forTerms([&](int term, std::size_t i, std::size_t j) { weights[term] = byOrder[i + j]; });
    return weights;
}

cv::Mat Surface::over(cv::Size frame, std::int32_t step, const Eigen::Ref<const Vector>& weights) {
    const auto along = [step](int index, int length) { return (2.0 * index * step + 1) / length - 1; };
    cv::Mat surface(FlatField::sizeFor(frame, step), CV_32F);
    std::vector<Polynomials> columns;
    columns.reserve(static_cast<std::size_t>(surface.cols));
    for (int col = 0; col < surface.cols; ++col) columns.push_back(legendre(along(col, frame.width)));
    for (int row = 0; row < surface.rows; ++row) {
        const Polynomials down = legendre(along(row, frame.height));
        Polynomials across{};
        forTerms([&](int term, std::size_t i, std::size_t j) { across[i] += weights[term] * down[j]; });
        for (int col = 0; col < surface.cols; ++col) {
            double value = 0;
            for (std::size_t i = 0; i < across.size(); ++i)
                value += across[i] * columns[static_cast<std::size_t>(col)][i];
            surface.at<float>(row, col) = static_cast<float>(value);
        }
    }
    return surface;
}

}  // namespace brantel::render
