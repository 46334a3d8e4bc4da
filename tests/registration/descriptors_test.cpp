// Orientation histograms, held against their definition pixel by pixel and gradient by gradient.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "registration/descriptors.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using Descriptor = std::array<std::uint16_t, 200>;

std::int32_t literalBin(float gx, float gy) {
    std::int32_t theta = 0;
    if (gx != 0.0F) {
        const float half = atanf(std::fabs(gy / gx)) * 0.5F;
        const auto a = static_cast<std::int32_t>(
            static_cast<float>(static_cast<double>(half) / 3.141592653589793 * 360.0));
        if (gx > 0 && gy <= 0) theta = a != 0 ? 360 - a : 0;
        if (gx < 0 && gy <= 0) theta = a + 180;
        if (gx < 0 && gy > 0) theta = 180 - a;
        if (gx > 0 && gy > 0) theta = a;
    } else {
        theta = gy > 0 ? 90 : (gy < 0 ? 270 : 0);
    }
    return theta / 45;
}

std::int32_t literalMagnitude(float gx, float gy) {
    return static_cast<std::int32_t>(std::sqrt(gx * gx + gy * gy));
}

/// grey holds one row more than rows.
Descriptor literalDescriptor(const std::vector<std::uint8_t>& grey, std::int32_t rows, std::int32_t cols,
                             CornerPoint corner) {
    Descriptor descriptor{};
    std::size_t cell = 0;
    for (std::int32_t x0 = corner.x - 9; x0 <= corner.x + 10; x0 += 4)
        for (std::int32_t y0 = corner.y - 9; y0 <= corner.y + 10; y0 += 4, ++cell) {
            std::uint16_t histogram[8] = {};
            for (std::int32_t c = x0 - 1; c <= x0 + 2; ++c)
                for (std::int32_t r = y0 - 1; r <= y0 + 2; ++r) {
                    float gx = 0;
                    float gy = 0;
                    if (2 <= c && c < cols - 1 && 2 <= r && r < rows - 1) {
                        gx = static_cast<float>(grey[r * cols + c + 2] - grey[r * cols + c - 2]);
                        gy = static_cast<float>(grey[(r + 2) * cols + c] - grey[(r - 2) * cols + c]);
                    }
                    std::uint16_t& bin = histogram[literalBin(gx, gy)];
                    bin = static_cast<std::uint16_t>(static_cast<std::int32_t>(
                        static_cast<float>(bin) + static_cast<float>(literalMagnitude(gx, gy))));
                }
            std::copy_n(histogram, 8, descriptor.begin() + static_cast<std::ptrdiff_t>(8 * cell));
        }
    return descriptor;
}

/// Describes points in a frame that ends at a guard page behind its zeroed row.
std::vector<Descriptor> describe(const std::vector<std::uint8_t>& grey, std::int32_t rows, std::int32_t cols,
                                 const std::vector<CornerPoint>& points) {
    const auto frame = GuardedBuffer<std::uint8_t>::copyOf(grey);
    GuardedBuffer<std::uint16_t> scratch(200);
    GuardedBuffer<std::uint16_t> out(200 * points.size());
    std::vector<CornerPoint> list = points;
    EXPECT_TRUE(buildCornerDescriptors(frame->data(), rows, cols, 200, 20, list, scratch.data(), out.data()));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(out.intact() && scratch.intact() && frame->intact());
    std::vector<Descriptor> descriptors(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
        std::copy_n(out.data() + 200 * i, 200, descriptors[i].begin());
    return descriptors;
}

std::vector<std::uint8_t> withZeroRow(std::vector<std::uint8_t> grey, std::int32_t cols) {
    grey.resize(grey.size() + static_cast<std::size_t>(cols), 0);
    return grey;
}

std::int64_t sumOf(const Descriptor& d) {
    std::int64_t sum = 0;
    for (const std::uint16_t value : d) sum += value;
    return sum;
}

TEST(GradientBin, AgreesWithTheSinglePrecisionFormulaForEveryGradient) {
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx)
            ASSERT_EQ(gradientBin(gx, gy), literalBin(static_cast<float>(gx), static_cast<float>(gy)))
                << gx << ", " << gy;
}

TEST(GradientMagnitude, IsTheTruncatedLengthForEveryGradient) {
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx)
            ASSERT_EQ(gradientMagnitude(gx, gy),
                      literalMagnitude(static_cast<float>(gx), static_cast<float>(gy)))
                << gx << ", " << gy;
}

TEST(GradientBin, EveryDirectionHasItsOctant) {
    EXPECT_EQ(gradientBin(10, 0), 0);
    EXPECT_EQ(gradientBin(10, 10), 1) << "45 degrees";
    EXPECT_EQ(gradientBin(0, 10), 2);
    EXPECT_EQ(gradientBin(-10, 20), 2) << "117 degrees";
    EXPECT_EQ(gradientBin(-20, 10), 3);
    EXPECT_EQ(gradientBin(-10, 0), 4) << "180 degrees";
    EXPECT_EQ(gradientBin(-10, -20), 5);
    EXPECT_EQ(gradientBin(0, -10), 6);
    EXPECT_EQ(gradientBin(10, -1), 7);
    EXPECT_EQ(gradientBin(200, -1), 0) << "less than a whole degree below the axis counts as 0";
    EXPECT_EQ(gradientBin(0, 0), 0);
}

TEST(Descriptors, AgreeWithTheDefinitionEverywhereInSmallRandomFrames) {
    for (const auto& [rows, cols] : {std::pair{31, 47}, std::pair{24, 24}, std::pair{5, 60}, std::pair{60, 5},
                                     std::pair{3, 3}, std::pair{1, 1}, std::pair{2, 40}}) {
        const auto grey = withZeroRow(test::randomBytes(std::int64_t{rows} * cols, 17), cols);
        std::vector<CornerPoint> points;
        for (std::int32_t y = 0; y < rows; ++y)
            for (std::int32_t x = 0; x < cols; ++x) points.push_back({x, y});
        const std::vector<Descriptor> actual = describe(grey, rows, cols, points);
        for (std::size_t i = 0; i < points.size(); ++i)
            ASSERT_EQ(actual[i], literalDescriptor(grey, rows, cols, points[i]))
                << "(" << points[i].x << ", " << points[i].y << ") in " << rows << " x " << cols;
    }
}

TEST(Descriptors, AgreeWithTheDefinitionOnALargerTexturedFrame) {
    constexpr std::int32_t rows = 211;
    constexpr std::int32_t cols = 317;
    const auto grey = withZeroRow(test::makePicture(test::Texture::grid, rows, cols, 1, 5).pixels, cols);
    test::Random random(3);
    std::vector<CornerPoint> points;
    for (int i = 0; i < 400; ++i)
        points.push_back({random.between(0, cols - 1), random.between(0, rows - 1)});
    const std::vector<Descriptor> actual = describe(grey, rows, cols, points);
    for (std::size_t i = 0; i < points.size(); ++i)
        ASSERT_EQ(actual[i], literalDescriptor(grey, rows, cols, points[i]));
}

TEST(Descriptors, PointsOutsideTheFrameAreHarmless) {
    const auto grey = withZeroRow(test::randomBytes(30 * 30, 2), 30);
    const std::vector<CornerPoint> points{{-5, -5}, {34, 34}, {-1000, 10}, {10, 100000}};
    const std::vector<Descriptor> actual = describe(grey, 30, 30, points);
    for (std::size_t i = 0; i < points.size(); ++i)
        EXPECT_EQ(actual[i], literalDescriptor(grey, 30, 30, points[i]));
    EXPECT_EQ(sumOf(actual[2]), 0);
    EXPECT_EQ(sumOf(actual[3]), 0);
}

TEST(Descriptors, AUniformFrameGivesZeros) {
    // far enough from the bottom that the zeroed row behind is not seen
    const std::vector<std::uint8_t> grey = withZeroRow(std::vector<std::uint8_t>(60 * 60, 137), 60);
    EXPECT_EQ(sumOf(describe(grey, 60, 60, {{30, 30}})[0]), 0);
}

TEST(Descriptors, BrightnessRisingToTheRightFallsIntoBin0) {
    std::vector<std::uint8_t> grey(60 * 60, 20);
    for (std::size_t i = 0; i < grey.size(); ++i)
        if (i % 60 >= 30) grey[i] = 220;
    const Descriptor d = describe(withZeroRow(grey, 60), 60, 60, {{30, 30}})[0];
    std::int64_t inBin0 = 0;
    for (std::size_t cell = 0; cell < 25; ++cell) inBin0 += d[8 * cell];
    EXPECT_EQ(inBin0, sumOf(d));
    EXPECT_EQ(inBin0, 20 * 4 * 200) << "20 rows, 4 columns across the edge";
}

TEST(Descriptors, BrightnessRisingDownwardsFallsIntoBin2) {
    std::vector<std::uint8_t> grey(60 * 60, 20);
    std::fill(grey.begin() + 30 * 60, grey.end(), 220);
    const Descriptor d = describe(withZeroRow(grey, 60), 60, 60, {{30, 30}})[0];
    std::int64_t inBin2 = 0;
    for (std::size_t cell = 0; cell < 25; ++cell) inBin2 += d[8 * cell + 2];
    EXPECT_EQ(inBin2, sumOf(d));
    EXPECT_EQ(inBin2, 20 * 4 * 200);
}

TEST(Descriptors, CellsRunDownTheColumnsFirst) {
    // one bright pixel: its left neighbour column sees it 2 pixels to the right
    std::vector<std::uint8_t> grey(60 * 60, 10);
    grey[20 * 60 + 22] = 110;
    const Descriptor d = describe(withZeroRow(grey, 60), 60, 60, {{30, 30}})[0];
    EXPECT_EQ(d[0], 100) << "pixel (20, 20) lies in the first cell, gradient to the right";
    EXPECT_EQ(d[8 * 5 + 4], 100) << "pixel (20, 24) lies in the second cell column, gradient to the left";
}

TEST(Descriptors, ACornerInTheFramesCornerHasZeroCellsOffTheFrame) {
    const auto grey = withZeroRow(test::randomBytes(60 * 60, 9), 60);
    const Descriptor d = describe(grey, 60, 60, {{0, 0}})[0];
    for (std::size_t place = 0; place < d.size(); ++place) {
        const std::size_t cell = place / 8;
        if (cell / 5 < 2 || cell % 5 < 2) {
            EXPECT_EQ(d[place], 0) << "cell " << cell;
        }
    }
    EXPECT_GT(sumOf(d), 0);
}

TEST(Descriptors, TheLastButOneColumnReadsTheNextRowsFirstPixelAndTheLastButOneRowTheZeroRow) {
    constexpr std::int32_t side = 40;
    std::vector<std::uint8_t> grey(side * side, 50);
    const Descriptor flat = describe(withZeroRow(grey, side), side, side, {{side - 1, side - 1}})[0];
    // row 38 sees 50 - 0 upwards in every column but the last
    EXPECT_GT(sumOf(flat), 0);
    grey[31 * side] = 90;  // next row's first pixel for (38, 30)
    const auto actual = describe(withZeroRow(grey, side), side, side, {{side - 1, 30}})[0];
    EXPECT_EQ(actual, literalDescriptor(withZeroRow(grey, side), side, side, {side - 1, 30}));
    EXPECT_GT(sumOf(actual), sumOf(describe(withZeroRow(std::vector<std::uint8_t>(side * side, 50), side),
                                            side, side, {{side - 1, 30}})[0]));
}

TEST(Descriptors, AnEmptyListSucceedsAndWritesNothing) {
    const auto grey = withZeroRow(test::randomBytes(30 * 30, 2), 30);
    std::vector<CornerPoint> none;
    std::vector<std::uint16_t> scratch(200, 9);
    std::uint16_t untouched = 77;
    EXPECT_TRUE(buildCornerDescriptors(grey.data(), 30, 30, 200, 20, none, scratch.data(), &untouched));
    EXPECT_EQ(untouched, 77);
}

TEST(Descriptors, RefuseANullFrameAndConsumeThePoints) {
    std::vector<CornerPoint> points{{1, 1}};
    std::uint16_t scratch[200];
    std::uint16_t out[200];
    const auto said =
        test::listen([&] { return buildCornerDescriptors(nullptr, 30, 30, 200, 20, points, scratch, out); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, test::Lines{"src_in ptr is null"});
    EXPECT_TRUE(points.empty());
}

}  // namespace
}  // namespace brantel
