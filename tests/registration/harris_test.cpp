// Response, suppression and the selection of corners, against values worked out by hand.
#include "registration/harris.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "reference/harris.h"
#include "reference/thinning.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Image = std::vector<float>;
using Points = std::vector<CornerPoint>;

struct Response {
    bool result = false;
    Image image;
    float mean = -1;
    float sum = 0;
};

Response responseOf(const Image& a, const Image& b, const Image& c, std::int32_t rows, std::int32_t cols,
                    float k = harrisK, float background = 0, float sum = 0) {
    const auto ga = GuardedBuffer<float>::copyOf(a);
    const auto gb = GuardedBuffer<float>::copyOf(b);
    const auto gc = GuardedBuffer<float>::copyOf(c);
    GuardedBuffer<float> response(a.size());
    std::fill(response.begin(), response.end(), background);
    Response out;
    out.sum = sum;
    out.result = reference::calcResponseValue(toOutput(), ga->data(), gb->data(), gc->data(), k, rows, cols,
                                              response.data(), &out.mean, &out.sum);
    out.image.assign(response.begin(), response.end());
    EXPECT_TRUE(response.intact());
    return out;
}

/// In the only pixel that a 41 x 41 image has inside the border.
float responseOfPixel(float a, float b, float c, float background = 0) {
    return responseOf(Image(41 * 41, a), Image(41 * 41, b), Image(41 * 41, c), 41, 41, harrisK, background)
        .image[20 * 41 + 20];
}

TEST(CalcResponseValue, RoundsInTheWrittenOrder) {
    // any other order of these operations, and any of them fused, ends in another float
    EXPECT_EQ(responseOfPixel(35486.0F, 21197.0938F, 26880.1875F), 7164738.0F);
    EXPECT_EQ(responseOfPixel(48811.625F, 25656.2188F, 34792.0625F), 3016024.0F);
    EXPECT_EQ(responseOfPixel(25918.2656F, 37287.5625F, 28640.8438F), 118166176.0F);
    EXPECT_EQ(responseOfPixel(8414.26562F, 9869.65625F, 8905.21875F), 1402879.25F);
    EXPECT_EQ(responseOfPixel(4056.70312F, 46984.3594F, 12717.75F), 10624102.0F);
}

TEST(CalcResponseValue, StoresOnlyPositiveResponses) {
    EXPECT_EQ(responseOfPixel(100, 100, 100, -3), -3) << "100 * 100 - 100 * 100 - 280";
    EXPECT_EQ(responseOfPixel(0, 0, 0, -3), -3) << "0 is not positive";
    const Response out = responseOf(Image(41 * 41, 100), Image(41 * 41, 100), Image(41 * 41), 41, 41, 0, -3);
    EXPECT_EQ(std::count(out.image.begin(), out.image.end(), -3.0F), 41 * 41 - 1) << "the border is kept";
    EXPECT_EQ(out.image[20 * 41 + 20], 10000);
}

TEST(CalcResponseValue, AddsRowByRowToTheSumItIsGiven) {
    // a * b is the response: 2^24, then ones, which are lost one by one
    Image a(42 * 43, 1.0F);
    a[20 * 43 + 20] = 16777216.0F;
    const Response first = responseOf(a, Image(42 * 43, 1.0F), Image(42 * 43), 42, 43, 0);
    EXPECT_EQ(first.sum, 16777216.0F);
    EXPECT_EQ(first.mean, 16777216.0F / (42 * 43)) << "the border counts";
    std::swap(a[20 * 43 + 20], a[21 * 43 + 22]);
    EXPECT_EQ(responseOf(a, Image(42 * 43, 1.0F), Image(42 * 43), 42, 43, 0).sum, 16777220.0F)
        << "5 and 2^24, and 16777221 is no float";
    EXPECT_EQ(responseOf(a, Image(42 * 43, 1.0F), Image(42 * 43), 42, 43, 0, 0, 1000).sum, 16778220.0F);
}

TEST(CalcResponseValue, FortyRowsOrColumnsGiveNoResponse) {
    for (const auto& [rows, cols] :
         {std::pair{40, 100}, std::pair{100, 40}, std::pair{10, 10}, std::pair{1, 1}}) {
        const Image a(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), 100.0F);
        const Response given = responseOf(a, a, Image(a.size()), rows, cols, harrisK, 0, 500);
        EXPECT_TRUE(given.result);
        EXPECT_EQ(given.mean, 500.0F / static_cast<float>(rows * cols));
        EXPECT_EQ(given.sum, 500);
        EXPECT_EQ(given.image, Image(a.size()));
    }
}

TEST(CalcResponseValue, RefusesEachNullImage) {
    Image image(41 * 41);
    float mean = 0;
    float sum = 0;
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return reference::calcResponseValue(toOutput(), which == 0 ? nullptr : image.data(),
                                                which == 1 ? nullptr : image.data(),
                                                which == 2 ? nullptr : image.data(), harrisK, 41, 41,
                                                which == 3 ? nullptr : image.data(), &mean, &sum);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"calcResponseValue ptr null"});
    }
}

struct Maxima {
    Image values;
    Points points;
};

Maxima maximaOf(const Image& image, float threshold, std::int32_t rows, std::int32_t cols) {
    Maxima out{{1}, {{1, 1}}};  // they are appended
    const auto guarded = GuardedBuffer<float>::copyOf(image);
    EXPECT_TRUE(reference::responseValueMaxSuppression(toOutput(), guarded->data(), threshold, rows, cols,
                                                       out.values, out.points));
    EXPECT_EQ(out.points[0], (CornerPoint{1, 1}));
    out.points.erase(out.points.begin());
    out.values.erase(out.values.begin());
    return out;
}

TEST(Suppression, BothOfTwoEqualNeighboursAreReported) {
    Image image(60 * 60);
    image[30 * 60 + 30] = image[30 * 60 + 31] = 5;
    EXPECT_EQ(maximaOf(image, 0, 60, 60).points, (Points{{30, 30}, {31, 30}}));
}

TEST(Suppression, EachOfTheEightNeighboursSuppresses) {
    for (std::int32_t dr = -1; dr <= 1; ++dr)
        for (std::int32_t dx = -1; dx <= 1; ++dx) {
            Image image(45 * 47);
            image[22 * 47 + 24] = 5;
            image[(22 + dr) * 47 + 24 + dx] = 6;
            const Maxima out = maximaOf(image, 0, 45, 47);
            EXPECT_EQ(out.points, (Points{{24 + dx, 22 + dr}}));
            EXPECT_EQ(out.values, Image{6});
        }
}

TEST(Suppression, PeaksAndPlateausComeRowByRow) {
    Image image(44 * 48);
    const float rows[4][8] = {{1, 1, 0, 3, 3, 3, 0, 2},  //
                              {1, 1, 0, 3, 4, 3, 0, 0},  //
                              {0, 0, 0, 3, 3, 3, 0, 9},  //
                              {7, 0, 1, 0, 0, 0, 0, 8}};
    for (std::int32_t r = 0; r < 4; ++r) std::copy_n(rows[r], 8, image.begin() + (20 + r) * 48 + 20);
    EXPECT_EQ(maximaOf(image, 0, 44, 48).points,
              (Points{{20, 20}, {21, 20}, {27, 20}, {20, 21}, {21, 21}, {24, 21}, {27, 22}, {20, 23}}));
    EXPECT_EQ(maximaOf(image, 1, 44, 48).values, (Image{2, 4, 9, 7}));
}

TEST(Suppression, AFlatImageHasNoMaximumBecauseTheThresholdIsStrict) {
    EXPECT_TRUE(maximaOf(Image(60 * 60, 0.0F), 0, 60, 60).points.empty());
    EXPECT_TRUE(maximaOf(Image(60 * 60, 3.0F), 3, 60, 60).points.empty());
    EXPECT_EQ(maximaOf(Image(60 * 60, 3.0F), 2, 60, 60).points.size(), 400U) << "every pixel of a plateau";
}

TEST(Suppression, TheBorderCountsAsNeighbourButNotAsCorner) {
    Image image(60 * 60);
    image[19 * 60 + 30] = 9;  // just inside the border
    image[20 * 60 + 30] = 5;  // just outside it, but overtopped
    image[39 * 60 + 39] = 4;
    image[40 * 60 + 30] = 8;
    EXPECT_EQ(maximaOf(image, 0, 60, 60).points, (Points{{39, 39}}));
}

TEST(Suppression, SkipsImagesOfFortyRowsOrColumns) {
    EXPECT_TRUE(maximaOf(Image(40 * 90, 1.0F), 0, 40, 90).points.empty());
    EXPECT_TRUE(maximaOf(Image(40 * 90, 1.0F), 0, 90, 40).points.empty());
}

TEST(Suppression, RefusesNull) {
    Maxima out;
    const auto said = listen([&] {
        return reference::responseValueMaxSuppression(toOutput(), nullptr, 0, 60, 60, out.values, out.points);
    });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"responseValueMaxSuppression ptr is null"});
}

Image randomImage(std::int32_t rows, std::int32_t cols, std::int32_t highest, std::uint64_t seed) {
    Random random(seed);
    Image image(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    for (float& value : image) value = static_cast<float>(random.between(0, highest));
    return image;
}

Points selected(const Image& xx, const Image& yy, const Image& xy, std::int32_t rows, std::int32_t cols,
                std::int32_t densityLevel) {
    SelectionScratch scratch;
    scratch.response.ensure(3 * cols);
    std::fill_n(scratch.response.data(), 3 * cols, 1e9F);  // of a frame before
    scratch.selection.values.assign(5, 1e9F);
    scratch.selection.points.assign(5, {1, 1});
    Points corners;
    selectCorners(toOutput(), {xx.data(), yy.data(), xy.data(), rows, cols},
                  CornerTuning::forDensity(densityLevel), scratch, corners);
    return corners;
}

TEST(SelectCorners, ChainsResponseSuppressionThinningAndSpreading) {
    constexpr std::int32_t rows = 150;
    constexpr std::int32_t cols = 170;
    const Image xx = randomImage(rows, cols, 3000, 1);
    const Image yy = randomImage(rows, cols, 3000, 2);
    const Image xy = randomImage(rows, cols, 900, 3);
    for (const std::int32_t level : {-4, 1, 8}) {
        const CornerTuning tuning = CornerTuning::forDensity(level);
        const Response response = responseOf(xx, yy, xy, rows, cols);
        Maxima maxima = maximaOf(response.image, response.mean, rows, cols);
        ASSERT_GT(maxima.values.size(), static_cast<std::size_t>(tuning.budget));
        std::int32_t count = 0;
        reference::goToGetRidOfSomeSPoints(toOutput(), maxima.values, maxima.points, tuning.budget,
                                           tuning.cap, 1, level, &count);
        Points expected;
        reference::selectSpreadCorners(toOutput(), maxima.values, maxima.points, count, 2, 0.5F, expected);
        EXPECT_EQ(expected.size(), static_cast<std::size_t>(tuning.budget));
        EXPECT_EQ(selected(xx, yy, xy, rows, cols, level), expected);
    }
}

// Plateaus, flat images, images with nothing but a border, and the rows and columns beside it.
TEST(SelectCorners, IsTheReferencesWhateverTheSize) {
    for (const std::int32_t rows : {1, 20, 40, 41, 42, 43, 44, 90})
        for (const std::int32_t cols : {1, 39, 40, 41, 42, 57, 58, 101})
            for (const std::int32_t highest : {0, 1, 4, 65025}) {
                const auto seed = static_cast<std::uint64_t>(rows * 1000 + cols * 10);
                const Image xx = randomImage(rows, cols, highest, seed + 1);
                const Image yy = randomImage(rows, cols, highest, seed + 2);
                const Image xy = randomImage(rows, cols, highest / 3, seed + 3);
                Points expected;
                const Lines lines = captureLines([&] {
                    expected = reference::selectCorners(toOutput(), xx.data(), yy.data(), xy.data(), rows,
                                                        cols, CornerTuning::forDensity(1));
                });
                Points found;
                EXPECT_EQ(captureLines([&] { found = selected(xx, yy, xy, rows, cols, 1); }), lines);
                EXPECT_EQ(found, expected) << rows << " x " << cols << ", " << highest;
            }
}

TEST(SelectCorners, KeepsAllMaximaWhenTheBudgetIsLarger) {
    Image xx(80 * 80);
    for (const std::int32_t at : {30 * 80 + 30, 40 * 80 + 50, 50 * 80 + 35}) xx[at] = 1000;
    const Points corners = selected(xx, xx, Image(80 * 80), 80, 80, 1);
    ASSERT_EQ(corners.size(), 3U);
    for (const CornerPoint& expected : {CornerPoint{60, 60}, CornerPoint{100, 80}, CornerPoint{70, 100}})
        EXPECT_NE(std::find(corners.begin(), corners.end(), expected), corners.end());
}

TEST(SelectCorners, AFlatImageSaysItsLineTwiceOnceForThinningOnceForSpreading) {
    const Image flat(80 * 80);
    const std::string line = "goToGetRidOfSomeSPoints CornervalueIn size is 0";
    EXPECT_EQ(captureLines([&] { selected(flat, flat, flat, 80, 80, 1); }), (Lines{line, line}));
}

TEST(SelectCorners, ABudgetOfZeroOrLessGivesNoCorners) {
    const Image xx = randomImage(80, 80, 3000, 1);
    for (const std::int32_t level : {-5, -8, -40})
        EXPECT_TRUE(selected(xx, xx, Image(xx.size()), 80, 80, level).empty());
}

}  // namespace
}  // namespace brantel::test
