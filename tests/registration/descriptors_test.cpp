// Orientation histograms: every case goes through the library's gradient table and through the reference's formula.
#include "registration/descriptors.h"

#include <algorithm>
#include <array>

#include "common/parallel_for.h"
#include "common/tuning.h"
#include "reference/descriptors.h"
#include "registration/gradient_table.h"
#include "support/idle_workers.h"
#include "support/lines.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Points = std::vector<CornerPoint>;
using Descriptor = std::array<std::uint16_t, descriptorLength>;

/// Describes points in a frame that ends at a guard page behind one more row.
std::vector<Descriptor> describe(const Bytes& greyAndRow, std::int32_t rows, std::int32_t cols,
                                 const Points& points, WorkerPair* workers = nullptr) {
    const Place& place = places[(points.size() + cols) % 6];
    const auto frame = placed(greyAndRow, place);
    GuardedBuffer<std::uint16_t> scratch(descriptorLength * (workers != nullptr ? loopThreads : 1));
    std::fill(scratch.begin(), scratch.end(), std::uint16_t{77});
    GuardedBuffer<std::uint16_t> out(descriptorLength * points.size(), place.guard, place.off);
    Points list = points;
    EXPECT_TRUE(buildCornerDescriptors(toOutput(), frame->data(), rows, cols, descriptorLength,
                                       descriptorWindow, list, scratch.data(), out.data(), workers));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(out.intact() && scratch.intact() && frame->intact());

    std::vector<Descriptor> descriptors(points.size());
    Descriptor referenceScratch;
    list = points;
    EXPECT_TRUE(reference::buildCornerDescriptors(toOutput(), greyAndRow.data(), rows, cols, descriptorLength,
                                                  descriptorWindow, list, referenceScratch.data(),
                                                  descriptors.empty() ? nullptr : descriptors[0].data()));
    EXPECT_TRUE(list.empty());
    for (std::size_t i = 0; i < points.size(); ++i)
        EXPECT_TRUE(
            std::equal(descriptors[i].begin(), descriptors[i].end(), out.begin() + descriptorLength * i))
            << "(" << points[i].x << ", " << points[i].y << ") in " << rows << " x " << cols;
    return descriptors;
}

Bytes withZeroRow(Bytes grey, std::int32_t cols) {
    grey.resize(grey.size() + static_cast<std::size_t>(cols), 0);
    return grey;
}

std::int64_t sumOf(const Descriptor& d) {
    std::int64_t sum = 0;
    for (const std::uint16_t value : d) sum += value;
    return sum;
}

TEST(GradientTable, HoldsWhatTheFormulaGivesForEveryGradient) {
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx)
            ASSERT_EQ(gradientTable().at(gx, gy),
                      binCount * reference::gradientMagnitude(gx, gy) + reference::gradientBin(gx, gy))
                << gx << ", " << gy;
}

TEST(GradientTable, EveryDirectionHasItsOctant) {
    struct {
        std::int32_t gx;
        std::int32_t gy;
        std::int32_t bin;
        std::int32_t length;
    } const cases[] = {
        {10, 0, 0, 10},   {10, 10, 1, 14},    {0, 10, 2, 10},    {-10, 20, 2, 22},
        {-20, 10, 3, 22}, {-10, 0, 4, 10},    {-10, -20, 5, 22}, {0, -10, 6, 10},
        {10, -1, 7, 10},  {200, -1, 0, 200},  // less than a whole degree below the axis counts as 0
        {0, 0, 0, 0},     {255, -255, 7, 360}};
    for (const auto& each : cases) {
        EXPECT_EQ(gradientTable().at(each.gx, each.gy) % binCount, each.bin) << each.gx << ", " << each.gy;
        EXPECT_EQ(gradientTable().at(each.gx, each.gy) / binCount, each.length) << each.gx << ", " << each.gy;
    }
}

/// Every point of a small frame; else points at every edge, inside, and beyond all edges.
Points pointsAround(std::int32_t rows, std::int32_t cols, Random& random) {
    Points points;
    for (std::int32_t y = 0; y < rows && rows * cols < 1500; ++y)
        for (std::int32_t x = 0; x < cols; ++x) points.push_back({x, y});
    for (const std::int32_t y : {-40, -11, -10, -1, 0, 1, 9, 10, 11, 12, rows / 2, rows - 12, rows - 10,
                                 rows - 9, rows - 1, rows, rows + 9, rows + 10, rows + 40})
        for (const std::int32_t x : {-40, -11, -9, 0, 2, 10, 12, cols / 2, cols - 11, cols - 10, cols - 2,
                                     cols, cols + 10, cols + 40})
            points.push_back({x, y});
    for (int i = 0; i < 50; ++i)
        points.push_back({random.between(-20, cols + 20), random.between(-20, rows + 20)});
    points.push_back({1000000, 5});
    points.push_back({5, -1000000});
    return points;
}

TEST(Descriptors, AtAndBeyondEveryEdgeAreTheReferences) {
    IdleWorkers workers;
    Random random(1);
    std::uint64_t seed = 1;
    for (const std::int32_t rows : {1, 2, 3, 4, 20, 21, 40, 61})
        for (const std::int32_t cols : {1, 2, 3, 5, 22, 41, 70})
            for (const Contents contents : allContents) {
                const Bytes grey = withZeroRow(bytesOf(contents, std::int64_t{rows} * cols, seed++), cols);
                describe(grey, rows, cols, pointsAround(rows, cols, random),
                         seed % 3 == 0 ? workers.pair() : nullptr);
                ASSERT_FALSE(testing::Test::HasFailure());
            }
}

TEST(Descriptors, OfALargerTexturedFrameAreTheReferences) {
    constexpr std::int32_t rows = 211;
    constexpr std::int32_t cols = 317;
    Random random(3);
    Points points;
    for (int i = 0; i < 400; ++i)
        points.push_back({random.between(0, cols - 1), random.between(0, rows - 1)});
    describe(withZeroRow(makePicture(Texture::grid, rows, cols, 1, 5).pixels, cols), rows, cols, points);
}

TEST(Descriptors, OfUniformPixelsOrNoneAreZeros) {
    // far enough from the bottom that the zeroed row behind is not seen, or far outside
    for (const Descriptor& d :
         describe(withZeroRow(Bytes(60 * 60, 137), 60), 60, 60, {{30, 30}, {-1000, 10}, {10, 100000}}))
        EXPECT_EQ(sumOf(d), 0);
}

/// What a 60 x 60 frame of 20 that turns to 220 in its middle has in one bin of all cells.
void expectAllInBin(std::size_t bin, const Bytes& grey) {
    const Descriptor d = describe(withZeroRow(grey, 60), 60, 60, {{30, 30}})[0];
    std::int64_t inBin = 0;
    for (std::size_t cell = 0; cell < 25; ++cell) inBin += d[8 * cell + bin];
    EXPECT_EQ(inBin, sumOf(d));
    EXPECT_EQ(inBin, 20 * 4 * 200) << "20 pixels along the edge, 4 across it";
}

TEST(Descriptors, BrightnessRisingToTheRightFallsIntoBin0DownwardsIntoBin2) {
    Bytes grey(60 * 60, 20);
    for (std::size_t i = 0; i < grey.size(); ++i)
        if (i % 60 >= 30) grey[i] = 220;
    expectAllInBin(0, grey);
    grey.assign(60 * 60, 20);
    std::fill(grey.begin() + 30 * 60, grey.end(), std::uint8_t{220});
    expectAllInBin(2, grey);
}

TEST(Descriptors, CellsRunDownTheColumnsFirst) {
    // one bright pixel: its left neighbour column sees it 2 pixels to the right
    Bytes grey(60 * 60, 10);
    grey[20 * 60 + 22] = 110;
    const Descriptor d = describe(withZeroRow(grey, 60), 60, 60, {{30, 30}})[0];
    EXPECT_EQ(d[0], 100) << "pixel (20, 20) lies in the first cell, gradient to the right";
    EXPECT_EQ(d[8 * 5 + 4], 100) << "pixel (20, 24) lies in the second cell column, gradient to the left";
}

TEST(Descriptors, ACornerInTheFramesCornerHasZeroCellsOffTheFrame) {
    const Descriptor d = describe(withZeroRow(randomBytes(60 * 60, 9), 60), 60, 60, {{0, 0}})[0];
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
    Bytes grey(side * side, 50);
    const auto flat = describe(withZeroRow(grey, side), side, side, {{side - 1, side - 1}, {side - 1, 30}});
    EXPECT_EQ(sumOf(flat[0]), 10 * 50) << "row 38 sees 50 - 0 in columns 29 to 38";
    grey[31 * side] = 90;  // next row's first pixel for (38, 30)
    const auto actual = describe(withZeroRow(grey, side), side, side, {{side - 1, 30}});
    EXPECT_EQ(sumOf(actual[0]), sumOf(flat[1]) + 40);
}

TEST(Descriptors, AnEmptyListSucceedsAndWritesNothing) {
    EXPECT_TRUE(describe(withZeroRow(randomBytes(30 * 30, 2), 30), 30, 30, {}).empty());
}

TEST(Descriptors, RefuseANullFrameAndConsumeThePoints) {
    std::uint16_t scratch[descriptorLength];
    std::uint16_t out[descriptorLength];
    Points points{{1, 1}};
    Points again = points;
    for (const auto& said :
         {listen([&] {
              return buildCornerDescriptors(toOutput(), nullptr, 30, 30, descriptorLength, descriptorWindow,
                                            points, scratch, out, nullptr);
          }),
          listen([&] {
              return reference::buildCornerDescriptors(toOutput(), nullptr, 30, 30, descriptorLength,
                                                       descriptorWindow, again, scratch, out);
          })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"src_in ptr is null"});
    }
    EXPECT_TRUE(points.empty() && again.empty());
}

}  // namespace
}  // namespace brantel::test
