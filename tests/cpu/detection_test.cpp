// The row-by-row detection finds what the chain of its single steps finds.
#include <gtest/gtest.h>

#include "cpu/detection.h"
#include "cpu/image_ops.h"
#include "registration/downscale.h"
#include "registration/filters.h"
#include "registration/harris.h"
#include "support/guarded_buffer.h"
#include "support/levels.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::Lines;
using test::listen;

using Bytes = std::vector<std::uint8_t>;
using Points = std::vector<CornerPoint>;

/// Reduce, gradient products, smooth each, respond, select.
Points chainedCorners(const Bytes& frame, std::int32_t rows, std::int32_t cols, const CornerTuning& tuning) {
    const std::int32_t height = rows / 2;
    const std::int32_t width = cols / 2;
    const std::size_t pixels = static_cast<std::size_t>(height) * width;
    Bytes grey(pixels);
    downscaleImage(frame.data(), rows, cols, 2, 1, grey.data());
    std::vector<float> xx(pixels);
    std::vector<float> yy(pixels);
    std::vector<float> xy(pixels);
    findGradSquareCrossTerms(grey.data(), height, width, xx.data(), yy.data(), xy.data());
    std::vector<float> a(static_cast<std::size_t>(height + 4) * (width + 4));
    std::vector<float> b(a.size());
    for (std::vector<float>* product : {&xx, &yy, &xy})
        smoothProduct(product->data(), height, width, a.data(), b.data());
    Points corners;
    selectCorners(xx.data(), yy.data(), xy.data(), height, width, tuning, b.data(), corners);
    return corners;
}

Points detected(const Bytes& frame, std::int32_t rows, std::int32_t cols, const CornerTuning& tuning,
                HarrisImages& images) {
    const auto guarded = test::GuardedBuffer<std::uint8_t>::copyOf(frame);
    Points corners;
    const std::int32_t result =
        findHarrisCornerCoordianteFun(guarded->data(), {0, 1, rows, cols}, tuning, images, corners);
    EXPECT_EQ(result, corners.empty() ? 0 : 1);
    return corners;
}

TEST(Detection, FindsTheCornersOfItsSingleStepsInTheSameOrder) {
    HarrisImages images;  // kept over all sizes, as a session with expected shifts keeps it
    for (const auto& [rows, cols] :
         {std::pair{240, 320}, std::pair{83, 401}, std::pair{401, 83}, std::pair{82, 82}, std::pair{163, 119},
          std::pair{300, 200}, std::pair{91, 255}})
        for (const test::Texture texture : {test::Texture::fine, test::Texture::grains, test::Texture::grid})
            for (const std::int32_t level : {1, 8}) {
                const Bytes frame = test::makePicture(texture, rows, cols, 1, 3).pixels;
                const CornerTuning tuning = CornerTuning::forDensity(level);
                ASSERT_EQ(detected(frame, rows, cols, tuning, images),
                          chainedCorners(frame, rows, cols, tuning))
                    << rows << " x " << cols << " " << nameOf(texture);
            }
}

TEST(Detection, AgreesOnNoiseAndOnFullContrastAtEveryLevel) {
    HarrisImages images;
    const CornerTuning tuning = CornerTuning::forDensity(1);
    test::atEveryLevel([&] {
        for (std::uint64_t seed = 0; seed < 4; ++seed) {
            Bytes frame = test::randomBytes(200 * 301, seed);
            ASSERT_EQ(detected(frame, 200, 301, tuning, images), chainedCorners(frame, 200, 301, tuning));
            for (std::uint8_t& sample : frame) sample = sample < 128 ? 0 : 255;
            ASSERT_EQ(detected(frame, 200, 301, tuning, images), chainedCorners(frame, 200, 301, tuning));
        }
    });
}

TEST(Detection, CornersAreEvenAndFortyPixelsFromEveryEdge) {
    HarrisImages images;
    const Bytes frame = test::makePicture(test::Texture::fine, 241, 323, 1, 3).pixels;
    const Points corners = detected(frame, 241, 323, CornerTuning::forDensity(1), images);
    EXPECT_EQ(corners.size(), 181U);
    for (const CornerPoint& corner : corners) {
        EXPECT_EQ(corner.x % 2 + corner.y % 2, 0);
        EXPECT_GE(corner.x, 40);
        EXPECT_GE(corner.y, 40);
        EXPECT_LT(corner.x, 2 * (323 / 2 - 20));
        EXPECT_LT(corner.y, 2 * (241 / 2 - 20));
    }
}

TEST(Detection, AppendsToTheListItIsGiven) {
    HarrisImages images;
    const Bytes frame = test::makePicture(test::Texture::fine, 200, 200, 1, 3).pixels;
    const Points found = detected(frame, 200, 200, CornerTuning::forDensity(1), images);
    Points corners{{7, 7}};
    EXPECT_EQ(findHarrisCornerCoordianteFun(frame.data(), {0, 1, 200, 200}, CornerTuning::forDensity(1),
                                            images, corners),
              1);
    EXPECT_EQ(corners.size(), found.size() + 1);
    EXPECT_EQ(corners[0], (CornerPoint{7, 7}));
}

const Lines noCorners{"goToGetRidOfSomeSPoints CornervalueIn size is 0",
                      "goToGetRidOfSomeSPoints CornervalueIn size is 0", "HarrissCornerSPoint size is 0"};

Lines linesOf(std::int32_t rows, std::int32_t cols, const Bytes& frame) {
    HarrisImages images;
    Points corners;
    const auto said = listen([&] {
        return findHarrisCornerCoordianteFun(frame.data(), {0, 1, rows, cols}, CornerTuning::forDensity(1),
                                             images, corners);
    });
    EXPECT_EQ(said.result, 0);
    EXPECT_TRUE(corners.empty());
    return said.lines;
}

TEST(Detection, AFeaturelessFrameSaysSoThreeTimes) {
    EXPECT_EQ(linesOf(200, 200, Bytes(200 * 200, 90)), noCorners);
}

TEST(Detection, AWorkingImageOfFortyRowsOrColumnsHasNoCorners) {
    const Bytes noise = test::randomBytes(200 * 200, 4);
    for (const auto& [rows, cols] : {std::pair{81, 200}, std::pair{200, 81}, std::pair{80, 80},
                                     std::pair{5, 5}, std::pair{4, 100}, std::pair{2, 2}})
        EXPECT_EQ(linesOf(rows, cols, noise), noCorners) << rows << " x " << cols;
}

TEST(Detection, OneWorkingPixelInsideTheBorderIsEnough) {
    // 82 x 82 leaves one row and column between the borders
    Bytes frame(82 * 82, 0);
    for (std::int32_t r = 40; r < 44; ++r)
        for (std::int32_t c = 40; c < 44; ++c) frame[r * 82 + c] = 255;
    HarrisImages images;
    const Points corners = detected(frame, 82, 82, CornerTuning::forDensity(1), images);
    EXPECT_EQ(corners, (Points{{40, 40}}));
}

TEST(Detection, AnEmptyCropHasNoGradients) {
    const Bytes frame(100, 1);
    const Lines expected{"ptr is null", "findGradSquareCrossTerms failed"};
    EXPECT_EQ(linesOf(0, 10, frame), expected);
    EXPECT_EQ(linesOf(10, 0, frame), expected);
    EXPECT_EQ(linesOf(1, 100, frame), expected) << "half a row is none";
}

TEST(Detection, RefusesANullFrame) {
    HarrisImages images;
    Points corners;
    const auto said = listen([&] {
        return findHarrisCornerCoordianteFun(nullptr, {0, 1, 200, 200}, CornerTuning::forDensity(1), images,
                                             corners);
    });
    EXPECT_EQ(said.result, 0);
    EXPECT_EQ(said.lines, Lines{"findHarrisCornerCoordianteFun ptr is null"});
}

TEST(Detection, ABudgetOfZeroOrLessHasNoCorners) {
    const Bytes frame = test::makePicture(test::Texture::fine, 200, 200, 1, 3).pixels;
    HarrisImages images;
    for (const std::int32_t level : {-5, -8, -100})
        EXPECT_TRUE(detected(frame, 200, 200, CornerTuning::forDensity(level), images).empty()) << level;
}

}  // namespace
}  // namespace brantel
