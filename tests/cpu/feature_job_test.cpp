// What a worker makes of its frame, also when a shift is expected.
#include <gtest/gtest.h>

#include <algorithm>

#include "compose/regions.h"
#include "cpu/feature_job.h"
#include "cpu/image_ops.h"
#include "registration/descriptors.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 260;

void expectOverlap(FrameRole role, std::int32_t x, std::int32_t y, const ExpectedOverlap& expected) {
    SCOPED_TRACE(testing::Message() << (role == FrameRole::previous ? "previous " : "current ") << x << ", "
                                    << y);
    const ExpectedOverlap actual = expectedOverlap(role, {x, y, true}, rows, cols);
    EXPECT_EQ(actual.rowStart, expected.rowStart);
    EXPECT_EQ(actual.rowEnd, expected.rowEnd);
    EXPECT_EQ(actual.colStart, expected.colStart);
    EXPECT_EQ(actual.colEnd, expected.colEnd);
}

TEST(ExpectedOverlap, ThePreviousFramesPartFollowsItsTable) {
    expectOverlap(FrameRole::previous, -30, -20, {20, rows, 0, cols - 30});
    expectOverlap(FrameRole::previous, -30, 20, {0, rows - 20, 0, cols - 30});
    expectOverlap(FrameRole::previous, 30, -20, {0, rows - 20, 30, cols});
    expectOverlap(FrameRole::previous, 30, 20, {20, rows, 30, cols});
    expectOverlap(FrameRole::previous, -30, 0, {0, rows, 0, cols - 30});
    expectOverlap(FrameRole::previous, 0, -20, {0, rows - 20, 0, cols});
    expectOverlap(FrameRole::previous, 0, 20, {20, rows, 0, cols});
    expectOverlap(FrameRole::previous, 30, 0, {0, rows, 30, cols});
}

TEST(ExpectedOverlap, TheCurrentFramesPartFollowsItsTable) {
    expectOverlap(FrameRole::current, -30, -20, {0, rows - 20, 30, cols});
    expectOverlap(FrameRole::current, -30, 20, {20, rows, 30, cols});
    expectOverlap(FrameRole::current, 30, -20, {20, rows, 0, cols - 30});
    expectOverlap(FrameRole::current, 30, 20, {0, rows - 20, 0, cols - 30});
    expectOverlap(FrameRole::current, -30, 0, {0, rows, 30, cols});
    expectOverlap(FrameRole::current, 0, -20, {20, rows, 0, cols});
    expectOverlap(FrameRole::current, 0, 20, {0, rows - 20, 0, cols});
    expectOverlap(FrameRole::current, 30, 0, {0, rows, 0, cols - 30});
}

TEST(ExpectedOverlap, BothPartsAlwaysHaveTheSameSize) {
    for (const std::int32_t x : {-2147483647 - 1, -400, -260, -7, 0, 9, 260, 2147483647})
        for (const std::int32_t y : {-2147483647 - 1, -300, -200, -3, 0, 5, 200, 2147483647}) {
            const ExpectedOverlap a = expectedOverlap(FrameRole::previous, {x, y, true}, rows, cols);
            const ExpectedOverlap b = expectedOverlap(FrameRole::current, {x, y, true}, rows, cols);
            EXPECT_EQ(a.rowEnd - a.rowStart, b.rowEnd - b.rowStart);
            EXPECT_EQ(a.colEnd - a.colStart, b.colEnd - b.colStart);
            for (const ExpectedOverlap& part : {a, b}) {
                EXPECT_GE(part.rowStart, 0);
                EXPECT_GE(part.colStart, 0);
                EXPECT_LE(part.rowEnd, rows);
                EXPECT_LE(part.colEnd, cols);
                EXPECT_LE(part.rowStart, part.rowEnd);
                EXPECT_LE(part.colStart, part.colEnd);
            }
        }
}

/// A frame as it comes, on one thread.
void findFeatures(FeatureSide& side, const std::uint8_t* frame, const ImageDesc& record,
                  const ExpectedShift& expected, const CornerTuning& tuning) {
    makeGrey(frame, record, side.grey, nullptr);
    describeGrey(side, side.grey.data(), record.rows, record.cols, expected, tuning);
}

std::vector<CornerPoint> cornersOf(FrameRole role, const Bytes& frame, std::int32_t channels,
                                   const ExpectedShift& expected) {
    FeatureSide side(role);
    findFeatures(side, frame.data(), {0, channels, rows, cols}, expected, CornerTuning::forDensity(1));
    return side.features.corners;
}

std::vector<CornerPoint> literalCropCorners(const Bytes& frame, const ExpectedOverlap& part) {
    Bytes crop(static_cast<std::size_t>(part.rowEnd - part.rowStart) * (part.colEnd - part.colStart));
    ImageDesc record{};
    cropImageRegion(frame.data(), {part.rowStart, part.rowEnd, part.colStart, part.colEnd}, rows, cols, 1,
                    &record, crop.data());
    HarrisImages images;
    std::vector<CornerPoint> corners;
    findHarrisCornerCoordianteFun(crop.data(), {0, 1, record.rows, record.cols}, CornerTuning::forDensity(1),
                                  images, corners);
    for (CornerPoint& corner : corners) {
        corner.x += part.colStart;
        corner.y += part.rowStart;
    }
    return corners;
}

TEST(FeatureJob, FindsTheCropsCornersAndMovesThemByItsOrigin) {
    const Bytes frame = test::makePicture(test::Texture::fine, rows, cols, 1, 4).pixels;
    for (const FrameRole role : {FrameRole::previous, FrameRole::current})
        for (const auto& [x, y] : {std::pair{-31, -20}, std::pair{-31, 21}, std::pair{30, -21},
                                   std::pair{31, 21}, std::pair{0, 41}, std::pair{-55, 0}}) {
            const ExpectedShift expected{x, y, true};
            const auto corners = cornersOf(role, frame, 1, expected);
            EXPECT_FALSE(corners.empty());
            EXPECT_EQ(corners, literalCropCorners(frame, expectedOverlap(role, expected, rows, cols)));
        }
}

TEST(FeatureJob, AnExpectedShiftOfZeroFindsTheCornersOfTheWholeFrame) {
    const Bytes frame = test::makePicture(test::Texture::grains, rows, cols, 1, 4).pixels;
    for (const FrameRole role : {FrameRole::previous, FrameRole::current}) {
        const auto whole = cornersOf(role, frame, 1, {0, 0, false});
        EXPECT_EQ(cornersOf(role, frame, 1, {0, 0, true}), whole);
        EXPECT_EQ(cornersOf(role, frame, 1, {99, 50, false}), whole) << "a shift that is not to be used";
    }
}

TEST(FeatureJob, AnExpectedShiftAsLargeAsTheFrameLeavesNoCorner) {
    const Bytes frame = test::makePicture(test::Texture::fine, rows, cols, 1, 4).pixels;
    for (const auto& [x, y] :
         {std::pair{cols, 0}, std::pair{-cols, 0}, std::pair{0, rows}, std::pair{0, -rows},
          std::pair{5 * cols, -5 * rows}, std::pair{-2147483647 - 1, 2147483647}})
        for (const FrameRole role : {FrameRole::previous, FrameRole::current})
            EXPECT_TRUE(cornersOf(role, frame, 1, {x, y, true}).empty()) << x << ", " << y;
}

TEST(FeatureJob, OneChannelIsTakenAsItIsThreeAreConverted) {
    const Bytes grey = test::makePicture(test::Texture::fine, rows, cols, 1, 4).pixels;
    FeatureSide one(FrameRole::previous);
    findFeatures(one, grey.data(), {0, 1, rows, cols}, {}, CornerTuning::forDensity(1));
    EXPECT_TRUE(std::equal(grey.begin(), grey.end(), one.grey.data()));

    const Bytes colour = test::makePicture(test::Texture::fine, rows, cols, 3, 5).pixels;
    Bytes converted(grey.size());
    rgb2gray(colour.data(), rows, cols, converted.data());
    FeatureSide three(FrameRole::current);
    findFeatures(three, colour.data(), {0, 3, rows, cols}, {}, CornerTuning::forDensity(1));
    EXPECT_TRUE(std::equal(converted.begin(), converted.end(), three.grey.data()));
    EXPECT_EQ(three.features.corners, cornersOf(FrameRole::current, converted, 1, {}));
}

TEST(FeatureJob, DescribesEveryCornerWithAZeroRowBehindTheGreyImage) {
    const Bytes frame = test::makePicture(test::Texture::grid, rows, cols, 1, 6).pixels;
    FeatureSide side(FrameRole::previous);
    // a larger frame before leaves its samples where the zero row has to be
    const Bytes larger(static_cast<std::size_t>(rows + 20) * cols, 99);
    findFeatures(side, larger.data(), {0, 1, rows + 20, cols}, {}, CornerTuning::forDensity(1));
    side.features.corners.clear();
    findFeatures(side, frame.data(), {0, 1, rows, cols}, {}, CornerTuning::forDensity(1));
    EXPECT_EQ(std::count(side.grey.data() + rows * cols, side.grey.data() + (rows + 1) * cols, 0), cols);

    Bytes grey = frame;
    grey.resize(grey.size() + cols, 0);
    std::vector<CornerPoint> points = side.features.corners;
    ASSERT_FALSE(points.empty());
    std::vector<std::uint16_t> scratch(200);
    std::vector<std::uint16_t> expected(points.size() * 200);
    buildCornerDescriptors(grey.data(), rows, cols, 200, 20, points, scratch.data(), expected.data());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), side.features.descriptors.data()));
}

}  // namespace
}  // namespace brantel
