// Masks, distances, weights and the fusion of two images.
#include <gtest/gtest.h>

#include <algorithm>

#include "common/grey.h"
#include "compose/distance_map.h"
#include "compose/weights.h"
#include "support/guarded_buffer.h"
#include "support/levels.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::Lines;
using test::listen;

using Mask = std::vector<float>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::pair<std::int32_t, std::int32_t> sizes[] = {{1, 1},  {1, 9},   {2, 2},   {3, 3},   {5, 40},
                                                           {40, 5}, {33, 47}, {64, 64}, {20, 131}};

/// Random content with empty patches, as a canvas cut has.
Bytes patchyImage(std::int32_t rows, std::int32_t cols, std::int32_t channels, std::uint64_t seed) {
    Bytes image = test::randomBytes(std::int64_t{rows} * cols * channels, seed);
    test::Random random(seed + 1);
    for (std::uint8_t& sample : image) sample = std::max<std::uint8_t>(sample, 1);
    for (int patch = 0; patch < 4; ++patch) {
        const std::int32_t r0 = random.between(0, rows);
        const std::int32_t c0 = random.between(0, cols);
        for (std::int32_t r = r0; r < std::min(rows, r0 + rows / 3); ++r)
            for (std::int32_t c = c0; c < std::min(cols, c0 + cols / 3); ++c)
                std::fill_n(image.begin() + (r * cols + c) * channels, channels, std::uint8_t{0});
    }
    return image;
}

Mask maskOf(const Bytes& image, std::int32_t rows, std::int32_t cols, std::int32_t channels) {
    const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
    GuardedBuffer<float> mask(static_cast<std::size_t>(rows) * cols);
    EXPECT_TRUE(occupancyMask(source->data(), rows, cols, channels, mask.data()));
    EXPECT_TRUE(mask.intact());
    return {mask.begin(), mask.end()};
}

TEST(OccupancyMask, OneChannelTestsTheSample) {
    EXPECT_EQ(maskOf({0, 1, 255, 0}, 2, 2, 1), (Mask{0, 255, 255, 0}));
}

TEST(OccupancyMask, ThreeChannelsTestTheRoundedGreyValue) {
    // (1, 0, 0): 114 + 500 is below 1000; (0, 1, 0): 587 + 500 is not; (4, 0, 0): 956; (5, 0, 0): 1070
    EXPECT_EQ(maskOf({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 0, 0, 5, 0, 0}, 1, 6, 3),
              (Mask{0, 0, 255, 0, 0, 255}));
}

TEST(OccupancyMask, AgreesWithTheGreyRuleOnRandomImages) {
    for (const std::int32_t channels : {1, 3})
        for (const auto& [rows, cols] : sizes) {
            Bytes image = patchyImage(rows, cols, channels, 3);
            for (std::uint8_t& sample : image) sample = sample % 8;  // many grey values around the limit
            const Mask mask = maskOf(image, rows, cols, channels);
            for (std::size_t i = 0; i < mask.size(); ++i) {
                const unsigned grey =
                    channels == 1
                        ? image[i]
                        : (image[3 * i] * 114U + image[3 * i + 1] * 587U + image[3 * i + 2] * 299U + 500U) /
                              1000U;
                ASSERT_EQ(mask[i], grey > 0 ? 255.0F : 0.0F);
            }
        }
}

TEST(OccupancyMask, RefusesNull) {
    std::uint8_t pixel = 0;
    float value = 0;
    for (const auto& said : {listen([&] { return occupancyMask(nullptr, 1, 1, 1, &value); }),
                             listen([&] { return occupancyMask(&pixel, 1, 1, 1, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"rgb2gray ptr invailed"});
    }
}

TEST(ClearMaskEdge, ClearsTheOutermostRowsAndColumns) {
    for (const auto& [rows, cols] : sizes) {
        GuardedBuffer<float> mask(static_cast<std::size_t>(rows) * cols);
        std::fill(mask.begin(), mask.end(), 255.0F);
        ASSERT_TRUE(clearMaskEdge(mask.data(), rows, cols));
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c) {
                const bool edge = r == 0 || c == 0 || r == rows - 1 || c == cols - 1;
                ASSERT_EQ(mask[static_cast<std::size_t>(r) * cols + c], edge ? 0.0F : 255.0F);
            }
        EXPECT_TRUE(mask.intact());
    }
}

TEST(ClearMaskEdge, RefusesNull) {
    const auto said = listen([] { return clearMaskEdge(nullptr, 3, 3); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"corresRowAllColZero ptr is null"});
}

void literalChamfer(Mask& mask, std::int32_t rows, std::int32_t cols) {
    for (std::int32_t r = 1; r < rows - 1; ++r)
        for (std::int32_t c = 1; c < cols - 1; ++c) {
            float& v = mask[r * cols + c];
            if (v == 0.0F) continue;
            v = std::min({v, mask[r * cols + c - 1] + 0.2F, mask[(r - 1) * cols + c] + 0.2F,
                          mask[(r - 1) * cols + c - 1] + 0.3F});
        }
    for (std::int32_t r = rows - 2; r >= 1; --r)
        for (std::int32_t c = cols - 2; c >= 1; --c) {
            float& v = mask[r * cols + c];
            if (v == 0.0F) continue;
            v = std::min({v, mask[r * cols + c + 1] + 0.2F, mask[(r + 1) * cols + c] + 0.2F,
                          mask[(r + 1) * cols + c + 1] + 0.3F});
        }
}

Mask distancesOf(const Mask& before, std::int32_t rows, std::int32_t cols) {
    const auto mask = GuardedBuffer<float>::copyOf(before);
    chamferDistance(mask->data(), rows, cols);
    EXPECT_TRUE(mask->intact());
    return {mask->begin(), mask->end()};
}

TEST(ChamferDistance, AgreesBitForBitWithItsTwoPasses) {
    for (const auto& [rows, cols] : sizes)
        for (std::uint64_t seed = 0; seed < 5; ++seed) {
            const Mask mask = maskOf(patchyImage(rows, cols, 1, seed), rows, cols, 1);
            Mask expected = mask;
            literalChamfer(expected, rows, cols);
            ASSERT_EQ(distancesOf(mask, rows, cols), expected) << rows << " x " << cols;
        }
}

TEST(ChamferDistance, AgreesOnSparseMasks) {
    for (const std::int32_t emptyInThousand : {0, 1, 20, 500, 980, 1000}) {
        test::Random random(static_cast<std::uint64_t>(emptyInThousand));
        Mask mask(61 * 83);
        for (float& value : mask) value = random.between(1, 1000) <= emptyInThousand ? 0.0F : 255.0F;
        Mask expected = mask;
        literalChamfer(expected, 61, 83);
        ASSERT_EQ(distancesOf(mask, 61, 83), expected) << emptyInThousand;
    }
}

/// One map over all sizes, as a session keeps it.
void expectSameMap(DistanceMap& map, const Mask& before, std::int32_t rows, std::int32_t cols) {
    const auto mask = GuardedBuffer<float>::copyOf(before);
    map.transform(mask->data(), rows, cols);
    ASSERT_EQ(Mask(mask->begin(), mask->end()), distancesOf(before, rows, cols)) << rows << " x " << cols;
    ASSERT_TRUE(mask->intact());
}

TEST(DistanceMap, HoldsTheChamferDistances) {
    test::atEveryLevel([] {
        DistanceMap map;
        for (const auto& [rows, cols] : sizes)
            for (std::uint64_t seed = 0; seed < 5; ++seed) {
                Mask mask = maskOf(patchyImage(rows, cols, 1, seed), rows, cols, 1);
                expectSameMap(map, mask, rows, cols);
                clearMaskEdge(mask.data(), rows, cols);
                expectSameMap(map, mask, rows, cols);
            }
        for (const std::int32_t emptyInThousand : {0, 1, 20, 500, 980, 1000}) {
            test::Random random(static_cast<std::uint64_t>(emptyInThousand));
            Mask mask(131 * 157);
            for (float& value : mask) value = random.between(1, 1000) <= emptyInThousand ? 0.0F : 255.0F;
            expectSameMap(map, mask, 131, 157);
            mask[70 * 157 + 80] = 12.5F;  // no mask has it, but who knows what a device leaves
            expectSameMap(map, mask, 131, 157);
        }
    });
}

TEST(ChamferDistance, LooksOnlyAtThreeNeighboursPerPass) {
    Mask mask(9 * 9, 255.0F);
    mask[4 * 9 + 4] = 0;
    const Mask d = distancesOf(mask, 9, 9);
    EXPECT_EQ(d[4 * 9 + 5], 0.2F);
    EXPECT_EQ(d[5 * 9 + 5], 0.3F) << "forward diagonal";
    EXPECT_EQ(d[3 * 9 + 3], 0.3F) << "backward diagonal";
    EXPECT_EQ(d[3 * 9 + 5], 0.2F + 0.2F) << "the other diagonal goes around the corner";
    EXPECT_EQ(d[5 * 9 + 3], 0.2F + 0.2F);
    EXPECT_EQ(d[0], 255.0F) << "the outermost pixels are not visited";
}

TEST(ChamferDistance, WithoutAnEmptyPixelEverythingIsFar) {
    const Mask mask(40 * 40, 255.0F);
    EXPECT_EQ(distancesOf(mask, 40, 40), mask);
}

Bytes weightsOf(const Mask& a, const Mask& b) {
    const auto ga = GuardedBuffer<float>::copyOf(a);
    const auto gb = GuardedBuffer<float>::copyOf(b);
    GuardedBuffer<std::uint8_t> out(a.size());
    weightsFromDistances(ga->data(), gb->data(), static_cast<std::int64_t>(a.size()), out.data());
    EXPECT_TRUE(out.intact());
    return {out.begin(), out.end()};
}

TEST(WeightsFromDistances, TruncateTheShareOfTheFirst) {
    EXPECT_EQ(weightsOf({0, 0.2F, 0.2F, 255, 255, 0}, {0, 0, 0.2F, 255, 0.2F, 7}),
              (Bytes{0, 255, 127, 127, 254, 0}));
}

TEST(WeightsFromDistances, AgreeWithTheFormulaOnWholeTables) {
    Mask a;
    Mask b;
    for (std::int32_t i = 0; i < 300; ++i)
        for (std::int32_t j = 0; j < 300; ++j) {
            a.push_back(static_cast<float>(i) * 0.1F);
            b.push_back(j == 299 ? 255.0F : static_cast<float>(j) * 0.2F);
        }
    const Bytes weights = weightsOf(a, b);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const float total = a[i] + b[i];
        const float product = 255.0F * a[i];
        const int expected = total == 0.0F ? 0 : static_cast<int>(product / total);
        ASSERT_EQ(weights[i], expected) << a[i] << " " << b[i];
    }
}

Bytes literalWeights(const Bytes& cut, const Bytes& frame, std::int32_t rows, std::int32_t cols,
                     std::int32_t channels) {
    Mask a = maskOf(cut, rows, cols, channels);
    Mask b = maskOf(frame, rows, cols, channels);
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c)
            if (r == 0 || c == 0 || r == rows - 1 || c == cols - 1) b[r * cols + c] = 0;
    literalChamfer(a, rows, cols);
    literalChamfer(b, rows, cols);
    Bytes weights(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const float total = a[i] + b[i];
        weights[i] = total == 0.0F ? 0 : static_cast<std::uint8_t>((255.0F * a[i]) / total);
    }
    return weights;
}

TEST(WeightMask, ChainsMasksEdgeDistancesAndWeights) {
    for (const std::int32_t channels : {1, 3})
        for (const auto& [rows, cols] : sizes) {
            const Bytes cut = patchyImage(rows, cols, channels, 5);
            const Bytes frame = patchyImage(rows, cols, channels, 9);
            const auto guardedCut = GuardedBuffer<std::uint8_t>::copyOf(cut);
            const auto guardedFrame = GuardedBuffer<std::uint8_t>::copyOf(frame);
            const std::size_t pixels = static_cast<std::size_t>(rows) * cols;
            GuardedBuffer<float> a(pixels);
            GuardedBuffer<float> b(pixels);
            GuardedBuffer<std::uint8_t> weights(pixels);
            ASSERT_TRUE(weightMask(guardedCut->data(), guardedFrame->data(), rows, cols, channels, a.data(),
                                   b.data(), weights.data()));
            ASSERT_EQ(Bytes(weights.begin(), weights.end()), literalWeights(cut, frame, rows, cols, channels))
                << rows << " x " << cols << " x " << channels;
            EXPECT_TRUE(a.intact() && b.intact() && weights.intact());
        }
}

TEST(WeightMask, OnlyTheNewFramesEdgeFadesOut) {
    // full canvas under a full frame: at the frame's edge the canvas wins, in the middle both are far
    const Bytes full(21 * 21, 100);
    const Bytes weights = literalWeights(full, full, 21, 21, 1);
    std::vector<float> a(441);
    std::vector<float> b(441);
    Bytes actual(441);
    ASSERT_TRUE(weightMask(full.data(), full.data(), 21, 21, 1, a.data(), b.data(), actual.data()));
    EXPECT_EQ(actual, weights);
    EXPECT_EQ(actual[0], 255);
    EXPECT_EQ(actual[10 * 21], 255);
    // an empty canvas gives the whole weight to the frame, also where both are empty
    const Bytes empty(21 * 21, 0);
    ASSERT_TRUE(weightMask(empty.data(), full.data(), 21, 21, 1, a.data(), b.data(), actual.data()));
    EXPECT_EQ(actual, empty);
    ASSERT_TRUE(weightMask(empty.data(), empty.data(), 21, 21, 1, a.data(), b.data(), actual.data()));
    EXPECT_EQ(actual, empty);
}

TEST(WeightMask, RefusesNullImages) {
    const Bytes image(9, 1);
    Bytes weights(9);
    float a[9];
    float b[9];
    for (int which = 0; which < 3; ++which) {
        const auto said = listen([&] {
            return weightMask(which == 0 ? nullptr : image.data(), which == 1 ? nullptr : image.data(), 3, 3,
                              1, a, b, which == 2 ? nullptr : weights.data());
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is null"});
    }
}

Bytes fused(const Bytes& cut, const Bytes& weights, const Bytes& frame, std::int32_t channels) {
    const auto guardedCut = GuardedBuffer<std::uint8_t>::copyOf(cut);
    const auto guardedWeights = GuardedBuffer<std::uint8_t>::copyOf(weights);
    const auto out = GuardedBuffer<std::uint8_t>::copyOf(frame);
    fuseImages(guardedCut->data(), guardedWeights->data(), static_cast<std::int64_t>(weights.size()),
               channels, out->data());
    EXPECT_TRUE(out->intact());
    return {out->begin(), out->end()};
}

TEST(FuseImages, OneChannelDividesBy256ForAllSamplesAndWeights) {
    Bytes cut;
    Bytes weights;
    Bytes frame;
    for (int w = 0; w < 256; ++w)
        for (int p = 0; p < 256; p += 3)
            for (int c = 0; c < 256; c += 5) {
                weights.push_back(static_cast<std::uint8_t>(w));
                cut.push_back(static_cast<std::uint8_t>(p));
                frame.push_back(static_cast<std::uint8_t>(c));
            }
    const Bytes out = fused(cut, weights, frame, 1);
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(out[i], (cut[i] * weights[i] + (255 - weights[i]) * frame[i]) >> 8);
}

TEST(FuseImages, ThreeChannelsDivideBy255ForAllSamplesAndWeights) {
    Bytes cut;
    Bytes weights;
    Bytes frame;
    for (int w = 0; w < 256; ++w)
        for (int p = 0; p < 256; p += 3)
            for (int c = 0; c < 256; c += 7) {
                weights.push_back(static_cast<std::uint8_t>(w));
                for (int k = 0; k < 3; ++k) {
                    cut.push_back(static_cast<std::uint8_t>((p + 85 * k) % 256));
                    frame.push_back(static_cast<std::uint8_t>((c + 31 * k) % 256));
                }
            }
    const Bytes out = fused(cut, weights, frame, 3);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const int w = weights[i / 3];
        ASSERT_EQ(out[i], ((255 - w) * frame[i] + w * cut[i]) / 255);
    }
}

TEST(FuseImages, EqualImagesKeepTheirColoursButGreysLoseOne) {
    const Bytes image(30, 200);
    EXPECT_EQ(fused(image, Bytes(10, 99), image, 3), image);
    EXPECT_EQ(fused(image, Bytes(30, 99), image, 1), Bytes(30, 199)) << "255 / 256 of it";
}

TEST(FuseImages, OddLengthsAreFusedToTheEnd) {
    for (const std::int32_t channels : {1, 3})
        for (const std::size_t pixels : {0U, 1U, 15U, 17U, 63U, 65U}) {
            const Bytes cut = test::randomBytes(static_cast<std::int64_t>(pixels) * channels, 1);
            const Bytes frame = test::randomBytes(static_cast<std::int64_t>(pixels) * channels, 2);
            const Bytes weights = test::randomBytes(static_cast<std::int64_t>(pixels), 3);
            const Bytes out = fused(cut, weights, frame, channels);
            for (std::size_t i = 0; i < out.size(); ++i) {
                const int w = weights[i / static_cast<std::size_t>(channels)];
                const int sum = (255 - w) * frame[i] + w * cut[i];
                ASSERT_EQ(out[i], channels == 1 ? sum >> 8 : sum / 255);
            }
        }
}

}  // namespace
}  // namespace brantel
