// Response, suppression and the selection of corners, held against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "registration/harris.h"
#include "registration/thinning.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::Lines;
using test::listen;

using Image = std::vector<float>;

Image randomImage(std::int32_t rows, std::int32_t cols, float highest, std::uint64_t seed) {
    test::Random random(seed);
    Image image(static_cast<std::size_t>(rows) * cols);
    for (float& value : image) value = static_cast<float>(random.between(0, 1 << 20)) / (1 << 20) * highest;
    return image;
}

struct Response {
    bool result = false;
    Image image;
    float mean = -1;
    float sum = 0;
};

Response literalResponse(const Image& a, const Image& b, const Image& c, std::int32_t rows, std::int32_t cols,
                         float background, float sum) {
    Response out;
    out.image.assign(a.size(), background);
    out.sum = sum;
    for (std::int32_t r = 20; r <= rows - 21; ++r)
        for (std::int32_t x = 20; x <= cols - 21; ++x) {
            const std::int32_t i = r * cols + x;
            const float trace = a[i] + b[i];
            const float product = a[i] * b[i];
            const float square = c[i] * c[i];
            const float penalty = trace * 0.007F;
            const float value = product - square - penalty * trace;
            if (value > 0) {
                out.image[i] = value;
                out.sum = out.sum + value;
            }
        }
    out.mean = out.sum / static_cast<float>(rows * cols);
    return out;
}

Response responseOf(const Image& a, const Image& b, const Image& c, std::int32_t rows, std::int32_t cols,
                    float background, float sum) {
    const auto ga = GuardedBuffer<float>::copyOf(a);
    const auto gb = GuardedBuffer<float>::copyOf(b);
    const auto gc = GuardedBuffer<float>::copyOf(c);
    GuardedBuffer<float> response(a.size());
    std::fill(response.begin(), response.end(), background);
    Response out;
    out.sum = sum;
    out.result = calcResponseValue(ga->data(), gb->data(), gc->data(), harrisK, rows, cols, response.data(),
                                   &out.mean, &out.sum);
    out.image.assign(response.begin(), response.end());
    EXPECT_TRUE(response.intact());
    return out;
}

TEST(CalcResponseValue, AgreesBitForBitWithTheWrittenOrder) {
    for (const auto& [rows, cols] :
         {std::pair{60, 90}, std::pair{41, 41}, std::pair{57, 63}, std::pair{90, 45}, std::pair{64, 131}})
        for (const float highest : {1.0F, 300.0F, 65025.0F}) {
            const Image a = randomImage(rows, cols, highest, 1);
            const Image b = randomImage(rows, cols, highest, 2);
            const Image c = randomImage(rows, cols, highest * 0.8F, 3);
            const Response expected = literalResponse(a, b, c, rows, cols, 0, 0);
            const Response actual = responseOf(a, b, c, rows, cols, 0, 0);
            ASSERT_TRUE(actual.result);
            ASSERT_EQ(actual.image, expected.image);
            ASSERT_EQ(actual.sum, expected.sum);
            ASSERT_EQ(actual.mean, expected.mean);
        }
}

TEST(CalcResponseValue, StoresOnlyPositiveResponsesAndAddsToTheSumItIsGiven) {
    const Image a = randomImage(50, 50, 900, 4);
    const Image b = randomImage(50, 50, 900, 5);
    const Image c = randomImage(50, 50, 900, 6);
    const Response expected = literalResponse(a, b, c, 50, 50, -3, 1000);
    const Response actual = responseOf(a, b, c, 50, 50, -3, 1000);
    EXPECT_EQ(actual.image, expected.image);
    EXPECT_EQ(actual.sum, expected.sum);
    EXPECT_GT(std::count(actual.image.begin(), actual.image.end(), -3.0F), 50 * 50 - 10 * 10)
        << "border kept";
}

TEST(CalcResponseValue, FortyRowsOrColumnsGiveNoResponse) {
    for (const auto& [rows, cols] :
         {std::pair{40, 100}, std::pair{100, 40}, std::pair{10, 10}, std::pair{1, 1}}) {
        const Image a(static_cast<std::size_t>(rows) * cols, 100.0F);
        const Image c(a.size(), 0.0F);
        const Response none = responseOf(a, a, c, rows, cols, 0, 0);
        EXPECT_TRUE(none.result);
        EXPECT_EQ(none.mean, 0);
        EXPECT_EQ(none.sum, 0);
        const Response given = responseOf(a, a, c, rows, cols, 0, 500);
        EXPECT_EQ(given.mean, 500.0F / static_cast<float>(rows * cols));
        EXPECT_EQ(given.sum, 500);
    }
}

TEST(CalcResponseValue, OnePixelFitsInto41Rows) {
    const Image a(41 * 41, 100.0F);
    const Response one = responseOf(a, a, Image(a.size(), 0.0F), 41, 41, 0, 0);
    EXPECT_EQ(std::count(one.image.begin(), one.image.end(), 0.0F), 41 * 41 - 1);
    EXPECT_GT(one.image[20 * 41 + 20], 0);
}

TEST(CalcResponseValue, RefusesEachNullImage) {
    Image image(41 * 41);
    float mean = 0;
    float sum = 0;
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return calcResponseValue(which == 0 ? nullptr : image.data(), which == 1 ? nullptr : image.data(),
                                     which == 2 ? nullptr : image.data(), harrisK, 41, 41,
                                     which == 3 ? nullptr : image.data(), &mean, &sum);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"calcResponseValue ptr null"});
    }
}

struct Maxima {
    std::vector<float> values;
    std::vector<CornerPoint> points;
};

Maxima literalMaxima(const Image& image, float threshold, std::int32_t rows, std::int32_t cols) {
    Maxima out;
    for (std::int32_t r = 20; r <= rows - 21; ++r)
        for (std::int32_t x = 20; x <= cols - 21; ++x) {
            const float centre = image[r * cols + x];
            float maximum = centre;
            for (std::int32_t dr = -1; dr <= 1; ++dr)
                for (std::int32_t dx = -1; dx <= 1; ++dx)
                    maximum = std::max(maximum, image[(r + dr) * cols + x + dx]);
            if (maximum > threshold && maximum == centre) {
                out.values.push_back(centre);
                out.points.push_back({x, r});
            }
        }
    return out;
}

Maxima maximaOf(const Image& image, float threshold, std::int32_t rows, std::int32_t cols) {
    Maxima out;
    const auto guarded = GuardedBuffer<float>::copyOf(image);
    EXPECT_TRUE(responseValueMaxSuppression(guarded->data(), threshold, rows, cols, out.values, out.points));
    return out;
}

TEST(Suppression, AgreesWithTheDefinitionAlsoWithPlateaus) {
    for (const auto& [rows, cols] :
         {std::pair{60, 90}, std::pair{41, 41}, std::pair{45, 77}, std::pair{80, 42}})
        for (const std::int32_t levels : {2, 4, 1000})
            for (const float threshold : {0.0F, 0.4F, 1e9F}) {
                Image image = randomImage(rows, cols, 1.0F, 7);
                for (float& value : image)
                    value = std::floor(value * static_cast<float>(levels)) / static_cast<float>(levels);
                const Maxima expected = literalMaxima(image, threshold, rows, cols);
                const Maxima actual = maximaOf(image, threshold, rows, cols);
                ASSERT_EQ(actual.values, expected.values);
                ASSERT_EQ(actual.points, expected.points);
            }
}

TEST(Suppression, BothOfTwoEqualNeighboursAreReported) {
    Image image(60 * 60);
    image[30 * 60 + 30] = image[30 * 60 + 31] = 5;
    EXPECT_EQ(maximaOf(image, 0, 60, 60).points, (std::vector<CornerPoint>{{30, 30}, {31, 30}}));
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
    EXPECT_EQ(maximaOf(image, 0, 60, 60).points, (std::vector<CornerPoint>{{39, 39}}));
}

TEST(Suppression, AppendsAndSkipsImagesOfFortyRowsOrLess) {
    Maxima out{{1}, {{1, 1}}};
    Image image(40 * 90, 1.0F);
    EXPECT_TRUE(responseValueMaxSuppression(image.data(), 0, 40, 90, out.values, out.points));
    EXPECT_TRUE(responseValueMaxSuppression(image.data(), 0, 90, 40, out.values, out.points));
    EXPECT_EQ(out.points.size(), 1U);
}

TEST(Suppression, RefusesNull) {
    Maxima out;
    const auto said =
        listen([&] { return responseValueMaxSuppression(nullptr, 0, 60, 60, out.values, out.points); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"responseValueMaxSuppression ptr is null"});
}

std::vector<CornerPoint> selected(const Image& xx, const Image& yy, const Image& xy, std::int32_t rows,
                                  std::int32_t cols, const CornerTuning& tuning) {
    Image response(xx.size(), -7.0F);
    std::vector<CornerPoint> corners;
    selectCorners(xx.data(), yy.data(), xy.data(), rows, cols, tuning, response.data(), corners);
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
        const Response response = literalResponse(xx, yy, xy, rows, cols, 0, 0);
        Maxima maxima = literalMaxima(response.image, response.mean, rows, cols);
        ASSERT_GT(maxima.values.size(), static_cast<std::size_t>(tuning.budget));
        std::int32_t count = 0;
        goToGetRidOfSomeSPoints(maxima.values, maxima.points, tuning.budget, tuning.cap, 1, level, &count);
        std::vector<CornerPoint> expected;
        selectSpreadCorners(maxima.values, maxima.points, count, 2, 0.5F, expected);
        const std::vector<CornerPoint> actual = selected(xx, yy, xy, rows, cols, tuning);
        EXPECT_EQ(actual.size(), static_cast<std::size_t>(tuning.budget));
        EXPECT_EQ(actual, expected);
        for (const CornerPoint& corner : actual) {
            EXPECT_EQ(corner.x % 2, 0) << "the working scale is 2";
            EXPECT_EQ(corner.y % 2, 0);
        }
    }
}

TEST(SelectCorners, KeepsAllMaximaWhenTheBudgetIsLarger) {
    Image xx(80 * 80);
    Image yy(80 * 80);
    for (const std::int32_t at : {30 * 80 + 30, 40 * 80 + 50, 50 * 80 + 35}) xx[at] = yy[at] = 1000;
    const auto corners = selected(xx, yy, Image(80 * 80), 80, 80, CornerTuning::forDensity(1));
    ASSERT_EQ(corners.size(), 3U);
    for (const CornerPoint& expected : {CornerPoint{60, 60}, CornerPoint{100, 80}, CornerPoint{70, 100}})
        EXPECT_NE(std::find(corners.begin(), corners.end(), expected), corners.end());
}

TEST(SelectCorners, AFlatImageSaysItsLineTwiceOnceForThinningOnceForSpreading) {
    const Image flat(80 * 80);
    const auto lines =
        test::captureLines([&] { selected(flat, flat, flat, 80, 80, CornerTuning::forDensity(1)); });
    const std::string line = "goToGetRidOfSomeSPoints CornervalueIn size is 0";
    EXPECT_EQ(lines, (Lines{line, line}));
}

TEST(SelectCorners, ABudgetOfZeroOrLessGivesNoCorners) {
    const Image xx = randomImage(80, 80, 3000, 1);
    const Image yy = randomImage(80, 80, 3000, 2);
    for (const std::int32_t level : {-5, -8, -40})
        EXPECT_TRUE(selected(xx, yy, Image(xx.size()), 80, 80, CornerTuning::forDensity(level)).empty());
}

}  // namespace
}  // namespace brantel
