// Masks, distances, weights and the fusion of two images, against values worked out by hand.
#include "reference/weights.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/lines.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Mask = std::vector<float>;
using Bytes = std::vector<std::uint8_t>;

Mask maskOf(const Bytes& image, std::int32_t rows, std::int32_t cols, std::int32_t channels) {
    Mask mask(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), -1);
    EXPECT_TRUE(reference::occupancyMask(toOutput(), image.data(), rows, cols, channels, mask.data()));
    return mask;
}

TEST(OccupancyMask, OneChannelTestsTheSample) {
    EXPECT_EQ(maskOf({0, 1, 255, 0}, 2, 2, 1), (Mask{0, 255, 255, 0}));
}

TEST(OccupancyMask, ThreeChannelsTestTheRoundedGreyValue) {
    // (1, 0, 0): 114 + 500 is below 1000; (0, 1, 0): 587 + 500 is not; (4, 0, 0): 956; (5, 0, 0): 1070
    EXPECT_EQ(maskOf({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 0, 0, 5, 0, 0}, 1, 6, 3),
              (Mask{0, 0, 255, 0, 0, 255}));
}

TEST(OccupancyMask, RefusesNull) {
    std::uint8_t pixel = 0;
    float value = 0;
    for (const auto& said :
         {listen([&] { return reference::occupancyMask(toOutput(), nullptr, 1, 1, 1, &value); }),
          listen([&] { return reference::occupancyMask(toOutput(), &pixel, 1, 1, 1, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"rgb2gray ptr invailed"});
    }
}

TEST(ChamferDistance, LooksOnlyAtThreeNeighboursPerPass) {
    Mask mask(9 * 9, 255.0F);
    mask[4 * 9 + 4] = 0;
    reference::chamferDistance(mask.data(), 9, 9);
    EXPECT_EQ(mask[4 * 9 + 5], 0.2F);
    EXPECT_EQ(mask[5 * 9 + 5], 0.3F) << "forward diagonal";
    EXPECT_EQ(mask[3 * 9 + 3], 0.3F) << "backward diagonal";
    EXPECT_EQ(mask[3 * 9 + 5], 0.2F + 0.2F) << "the other diagonal goes around the corner";
    EXPECT_EQ(mask[5 * 9 + 3], 0.2F + 0.2F);
    EXPECT_EQ(mask[0], 255.0F) << "the outermost pixels are not visited";
}

TEST(ChamferDistance, OfThreeEmptyPixels) {
    Mask mask(6 * 8, 255.0F);
    mask[0 * 8 + 1] = mask[2 * 8 + 5] = mask[4 * 8 + 2] = 0;
    reference::chamferDistance(mask.data(), 6, 8);
    const Mask expected{255, 0,    255,  255,  255,  255,  255,  255,  //
                        255, 0.2F, 0.3F, 0.5F, 0.3F, 0.2F, 0.4F, 255,  //
                        255, 0.4F, 0.4F, 0.4F, 0.2F, 0,    0.2F, 255,  //
                        255, 0.3F, 0.2F, 0.4F, 0.4F, 0.2F, 0.3F, 255,  //
                        255, 0.2F, 0,    0.2F, 0.4F, 0.4F, 0.5F, 255,  //
                        255, 255,  255,  255,  255,  255,  255,  255};
    EXPECT_EQ(mask, expected);
}

TEST(ChamferDistance, WithoutAnEmptyPixelEverythingIsFar) {
    Mask mask(40 * 40, 255.0F);
    reference::chamferDistance(mask.data(), 40, 40);
    EXPECT_EQ(mask, Mask(40 * 40, 255.0F));
}

TEST(ChamferDistance, FarAwayItAddsUpStepByStepAndEndsAt255) {
    Mask mask(3 * 1400, 255.0F);
    mask[1400 + 1] = 0;
    reference::chamferDistance(mask.data(), 3, 1400);
    float distance = 0;
    for (int i = 0; i < 1000; ++i) distance += 0.2F;
    EXPECT_EQ(mask[1400 + 1001], distance);
    EXPECT_NE(distance, 200.0F) << "the sum is not exact";
    EXPECT_EQ(mask[1400 + 1398], 255.0F);
}

TEST(WeightsFromDistances, TruncateTheShareOfTheFirst) {
    const Mask a{0, 0.2F, 0.2F, 255, 255, 0, 0.3F};
    const Mask b{0, 0, 0.2F, 255, 0.2F, 7, 0.5F};
    Bytes weights(7);
    reference::weightsFromDistances(a.data(), b.data(), 7, weights.data());
    EXPECT_EQ(weights, (Bytes{0, 255, 127, 127, 254, 0, 95}));
}

Bytes weightsOf(const Bytes& cut, const Bytes& frame, std::int32_t rows, std::int32_t cols) {
    Mask a(cut.size());
    Mask b(cut.size());
    Bytes weights(cut.size());
    EXPECT_TRUE(reference::weightMask(toOutput(), cut.data(), frame.data(), rows, cols, 1, a.data(), b.data(),
                                      weights.data()));
    return weights;
}

TEST(WeightMask, OnlyTheNewFramesEdgeFadesOut) {
    const Bytes full(5 * 5, 100);
    const Bytes empty(5 * 5, 0);
    // at the frame's edge the canvas wins; inwards the frame has 255 * 255 / 255.2 and 255 * 255 / 255.4 of 255 against it
    EXPECT_EQ(weightsOf(full, full, 5, 5), (Bytes{255, 255, 255, 255, 255,  //
                                                  255, 254, 254, 254, 255,  //
                                                  255, 254, 254, 254, 255,  //
                                                  255, 254, 254, 254, 255,  //
                                                  255, 255, 255, 255, 255}));
    EXPECT_EQ(weightsOf(empty, full, 5, 5), empty) << "an empty canvas leaves everything to the frame";
    EXPECT_EQ(weightsOf(empty, empty, 5, 5), empty) << "also where both are empty";
}

TEST(WeightMask, WeighsByBothDistances) {
    // the canvas ends behind the third column; the frame is full
    EXPECT_EQ(weightsOf({9, 9, 9, 0, 0, 9, 9, 9, 0, 0, 9, 9, 9, 0, 0}, Bytes(15, 9), 3, 5),
              (Bytes{255, 255, 255, 0, 0, 255, 170, 127, 0, 0, 255, 255, 255, 0, 0}));
}

TEST(WeightMask, RefusesNullImages) {
    const Bytes image(9, 1);
    Bytes weights(9);
    float a[9];
    float b[9];
    for (int which = 0; which < 3; ++which) {
        const auto said = listen([&] {
            return reference::weightMask(toOutput(), which == 0 ? nullptr : image.data(),
                                         which == 1 ? nullptr : image.data(), 3, 3, 1, a, b,
                                         which == 2 ? nullptr : weights.data());
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is null"});
    }
}

Bytes fused(const Bytes& cut, const Bytes& weights, Bytes frame, std::int32_t channels) {
    reference::fuseImages(cut.data(), weights.data(), static_cast<std::int64_t>(weights.size()), channels,
                          frame.data());
    return frame;
}

TEST(FuseImages, OneChannelDividesBy256ThreeBy255) {
    const Bytes cut{255, 255, 255, 255, 200, 10};
    const Bytes frame{0, 0, 255, 255, 50, 240};
    EXPECT_EQ(fused(cut, {255, 1, 0, 77, 100, 200}, frame, 1), (Bytes{254, 0, 254, 254, 108, 59}));
    EXPECT_EQ(fused(cut, {255, 1}, frame, 3), (Bytes{255, 255, 255, 255, 50, 239}));
}

TEST(FuseImages, EqualImagesKeepTheirColoursButGreysLoseOne) {
    const Bytes image(30, 200);
    EXPECT_EQ(fused(image, Bytes(10, 99), image, 3), image);
    EXPECT_EQ(fused(image, Bytes(30, 99), image, 1), Bytes(30, 199)) << "255 / 256 of it";
}

}  // namespace
}  // namespace brantel::test
