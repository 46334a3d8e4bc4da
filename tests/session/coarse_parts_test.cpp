// The steps of the coarse shift against plain arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "coarse/flatten.h"
#include "coarse/patch.h"
#include "coarse/places.h"
#include "coarse/reduction.h"
#include "coarse/scales.h"
#include "coarse/shift_map.h"
#include "coarse/verdict.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

using namespace brantel::session;

TEST(CoarseScales, LevelsFitTheFrame) {
    const Scales large = Scales::of(2048, 2448);
    EXPECT_EQ(large.middle.factor, 6);
    EXPECT_EQ(large.middle.cols, 408);
    EXPECT_EQ(large.middle.rows, 341);
    EXPECT_EQ(large.coarse.factor, 24);
    EXPECT_EQ(large.finest.factor, 2);
    const Scales small = Scales::of(90, 120);
    EXPECT_EQ(small.coarse.factor, 1);
    EXPECT_EQ(small.finest.rows, 90);
    for (const std::int32_t side : {1, 2, 107, 161, 163, 269, 421, 629, 631, 1679, 5000, 65536})
        for (const std::int32_t other : {1, 3, 100, 4000}) {
            const Scales scales = Scales::of(side, other);
            EXPECT_EQ(scales.coarse.factor % scales.middle.factor, 0);
            EXPECT_LE(std::max(scales.coarse.rows, scales.coarse.cols), 162);
            for (const Level& level : {scales.finest, scales.middle, scales.coarse}) {
                EXPECT_LE(level.rows * std::min(level.factor, side), side);
                EXPECT_LE(level.cols * std::min(level.factor, other), other);
                EXPECT_GE(std::min(level.rows, level.cols), 1);
            }
        }
}

TEST(CoarseReduction, CellsAreMeansOfThreeRows) {
    for (const auto& [rows, cols] :
         {std::pair{960, 1280}, {2048, 2448}, {300, 373}, {3, 4000}, {5003, 700}}) {
        SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows));
        const Scales scales = Scales::of(rows, cols);
        const auto grey = randomBytes(std::int64_t{rows} * cols, 1);
        std::vector<std::uint8_t> middle;
        reduceToMiddle(grey.data(), scales, middle);
        ASSERT_EQ(middle.size(), static_cast<std::size_t>(scales.middle.pixels()));
        const std::int32_t height = std::min(scales.middle.factor, rows);
        const std::int32_t width = std::min(scales.middle.factor, cols);
        const std::int32_t read = std::min(height, 3);
        for (std::size_t i = 0; i < middle.size(); i += 97) {
            const std::int64_t y = static_cast<std::int64_t>(i) / scales.middle.cols * scales.middle.factor;
            const std::int64_t x = static_cast<std::int64_t>(i) % scales.middle.cols * scales.middle.factor;
            double sum = 0;
            for (std::int32_t k = 0; k < read; ++k)
                for (std::int32_t c = 0; c < width; ++c)
                    sum += grey[static_cast<std::size_t>((y + (2 * k + 1) * height / (2 * read)) * cols + x +
                                                         c)];
            EXPECT_NEAR(middle[i], sum / (read * width), 0.51);
        }
        std::vector<std::int32_t> coarse;
        reduceToCoarse(middle, scales, coarse);
        ASSERT_EQ(coarse.size(), static_cast<std::size_t>(scales.coarse.pixels()));
        double first = 0;
        const std::int32_t ratio = scales.coarse.factor / scales.middle.factor;
        const std::int32_t down = std::min(ratio, scales.middle.rows);
        for (std::int32_t r = 0; r < down; ++r)
            for (std::int32_t c = 0; c < ratio; ++c)
                first += middle[static_cast<std::size_t>(r) * scales.middle.cols + c];
        EXPECT_NEAR(coarse[0], 16 * first / (down * ratio), 0.51);
    }
}

std::vector<std::int32_t> texture(std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    const Picture picture = makePicture(Texture::fine, rows, cols, 1, seed);
    std::vector<std::int32_t> values(picture.pixels.begin(), picture.pixels.end());
    for (std::int32_t& value : values) value *= 16;
    return values;
}

TEST(CoarseFlatten, BrightnessGainAndVignettingHardlyMatter) {
    constexpr std::int32_t rows = 80;
    constexpr std::int32_t cols = 106;
    const auto plain = texture(rows, cols, 1);
    auto changed = plain;
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            std::int32_t& value = changed[static_cast<std::size_t>(r) * cols + c];
            value = value / 2 + 700 + 5 * c - 3 * r - (c - 50) * (c - 50) / 8 - (r - 40) * (r - 40) / 6;
        }
    std::vector<std::int8_t> a;
    std::vector<std::int8_t> b;
    flatten(plain, rows, cols, a);
    flatten(changed, rows, cols, b);
    int worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(a[i] - b[i]));
    EXPECT_LE(worst, 6);
    EXPECT_EQ(*std::max_element(a.begin(), a.end()), 127);
    EXPECT_GE(*std::min_element(a.begin(), a.end()), -127);
}

TEST(CoarseFlatten, NothingComesOfNothing) {
    for (const auto& [rows, cols] : {std::pair{1, 1}, {1, 50}, {50, 1}, {30, 40}}) {
        std::vector<std::int8_t> flat;
        flatten(std::vector<std::int32_t>(static_cast<std::size_t>(rows) * cols, 4080), rows, cols, flat);
        EXPECT_EQ(flat, std::vector<std::int8_t>(static_cast<std::size_t>(rows) * cols, 0));
    }
}

double plainLikeness(const std::vector<std::int8_t>& previous, const std::vector<std::int8_t>& current,
                     std::int32_t rows, std::int32_t cols, std::int32_t x, std::int32_t y) {
    double sum = 0;
    double energy = 0;
    double currentEnergy = 0;
    for (std::int32_t r = std::max(0, y); r < std::min(rows, rows + y); ++r)
        for (std::int32_t c = std::max(0, x); c < std::min(cols, cols + x); ++c) {
            const double a = previous[static_cast<std::size_t>(r) * cols + c];
            const double b = current[static_cast<std::size_t>(r - y) * cols + c - x];
            sum += a * b;
            energy += a * a;
            currentEnergy += b * b;
        }
    return sum / std::sqrt(energy * currentEnergy);
}

TEST(CoarseMap, HoldsTheLikenessOfEveryShift) {
    for (const auto& [rows, cols] : {std::pair{23, 31}, {40, 17}, {1, 60}, {60, 1}}) {
        SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows));
        ShiftMap map({1, rows, cols});
        std::vector<std::int8_t> flat[2];
        std::vector<double> spectrum[2];
        std::vector<std::int32_t> energies[2];
        for (int k = 0; k < 2; ++k) {
            flatten(texture(rows, cols, 5 + static_cast<std::uint64_t>(k)), rows, cols, flat[k]);
            map.makeSpectrum(flat[k], spectrum[k]);
            map.makeEnergies(flat[k], energies[k]);
        }
        map.fill({spectrum[0], energies[0]}, {spectrum[1], energies[1]});
        for (std::int32_t y = -map.reachY(); y <= map.reachY(); ++y)
            for (std::int32_t x = -map.reachX(); x <= map.reachX(); ++x) {
                const std::int32_t area = (rows - std::abs(y)) * (cols - std::abs(x));
                if (100 * area < 4 * rows * cols) {
                    EXPECT_EQ(map.at(x, y), 0);
                } else if (map.at(x, y) != 0) {
                    EXPECT_NEAR(map.at(x, y), plainLikeness(flat[0], flat[1], rows, cols, x, y), 1e-12);
                }
            }
        EXPECT_NE(map.at(0, 0), 0);
    }
}

/// Sum of the squares or products left when both patches' planes are out, by solving for the planes in doubles.
std::vector<double> withoutPlane(const LevelView& view, std::int32_t x, std::int32_t y, std::int32_t cols,
                                 std::int32_t rows) {
    std::vector<double> values;
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            double sum = 0;
            for (std::int32_t v = 0; v < view.block; ++v)
                for (std::int32_t u = 0; u < view.block; ++u)
                    sum += view.pixels[((y + r) * view.block + v) * view.stride + (x + c) * view.block + u];
            values.push_back(std::floor(sum / (view.block * view.block) + 0.5));
        }
    double mean = 0, slopeX = 0, slopeY = 0, normX = 0, normY = 0;
    for (std::int32_t i = 0; i < rows * cols; ++i) {
        const double u = i % cols - (cols - 1) / 2.0;
        const double v = i / cols - (rows - 1) / 2.0;
        mean += values[static_cast<std::size_t>(i)] / (rows * cols);
        slopeX += u * values[static_cast<std::size_t>(i)];
        slopeY += v * values[static_cast<std::size_t>(i)];
        normX += u * u;
        normY += v * v;
    }
    for (std::int32_t i = 0; i < rows * cols; ++i)
        values[static_cast<std::size_t>(i)] -= mean + slopeX / normX * (i % cols - (cols - 1) / 2.0) +
                                               slopeY / normY * (i / cols - (rows - 1) / 2.0);
    return values;
}

double productOf(const std::vector<double>& a, const std::vector<double>& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
}

TEST(CoarsePatch, ComparesWithoutPlanes) {
    constexpr std::int32_t side = 240;
    const Picture previous = makePicture(Texture::fine, side, side, 1, 3);
    const Picture current = makePicture(Texture::grains, side, side, 1, 4);
    for (const std::int32_t block : {1, 2, 3})
        for (const auto& [cols, rows] : {std::pair{32, 32}, {24, 24}, {8, 32}, {28, 12}})
            for (const std::int32_t radius : {1, 2, 3}) {
                const LevelView a{previous.pixels.data(), side, block, side / block, side / block};
                const LevelView b{current.pixels.data(), side, block, side / block, side / block};
                const Lattice lattice{radius};
                PatchLikeness likeness;
                comparePatch(a, b, {11, 5, 20, 17}, {cols, rows}, lattice, likeness);
                const auto patch = withoutPlane(a, 11, 5, cols, rows);
                EXPECT_NEAR(likeness.energy, productOf(patch, patch), 0.01 * productOf(patch, patch));
                for (std::int32_t i = 0; i < lattice.count(); ++i) {
                    const auto other = withoutPlane(b, 20 - lattice.x(i), 17 - lattice.y(i), cols, rows);
                    const double energy = productOf(other, other);
                    EXPECT_NEAR(likeness.currentEnergy[static_cast<std::size_t>(i)], energy, 1e-6 * energy);
                    EXPECT_NEAR(likeness.covariance[static_cast<std::size_t>(i)], productOf(patch, other),
                                0.01 * std::sqrt(energy * likeness.energy));
                }
            }
}

TEST(CoarsePlaces, TheParabolaPeaksBetweenItsNeighbours) {
    EXPECT_EQ(parabolaPeak(1, 2, 1), 0);
    EXPECT_EQ(parabolaPeak(1, 2, 2), 0.5);
    EXPECT_EQ(parabolaPeak(2, 2, 1), -0.5);
    EXPECT_EQ(parabolaPeak(2, 2, 2), 0);
    EXPECT_NEAR(parabolaPeak(-0.25 * 0.25 - 1.5, 0.9375, -0.75 * 0.75 + 1), 0.25, 0.3);
    EXPECT_EQ(parabolaPeak(3, 0, 1), 0);  // no peak
}

TEST(CoarseVerdicts, ALeadIsADifferenceOfFisherTransforms) {
    const auto transform = [](double r) { return 0.5 * std::log((1 + r) / (1 - r)); };
    for (double r = 0.05; r < 1; r += 0.05)
        for (double other = 0.02; other < 1; other += 0.05)
            EXPECT_EQ(leads(r, other, certainLead), transform(r) - transform(other) >= 0.35) << r << other;
    EXPECT_TRUE(leads(1, 0.99, certainLead));
    EXPECT_FALSE(leads(0.5, 1, certainLead));
}

}  // namespace
}  // namespace brantel::test
