// Grey conversion, gradients, 3 x 3 smoothing and differences, against values worked out by hand.
#include "reference/image_ops.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/lines.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;
using Bytes = std::vector<std::uint8_t>;

TEST(Rgb2Gray, RoundsItsWeightsInThousandths) {
    const Bytes bgr{255, 255, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 1, 4, 0, 0};
    Bytes grey(8, 9);
    EXPECT_TRUE(reference::rgb2gray(toOutput(), bgr.data(), 2, 4, grey.data()));
    EXPECT_EQ(grey, (Bytes{255, 76, 150, 29, 0, 1, 0, 0}));
}

TEST(Rgb2Gray, RefusesNullAndSkipsFramesWithoutRows) {
    std::uint8_t p[3] = {};
    for (const auto& said : {listen([&] { return reference::rgb2gray(toOutput(), nullptr, 1, 1, p); }),
                             listen([&] { return reference::rgb2gray(toOutput(), p, 1, 1, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"rgb2gray ptr invailed"});
    }
    std::uint8_t untouched = 9;
    EXPECT_TRUE(reference::rgb2gray(toOutput(), p, 0, 5, &untouched));
    EXPECT_TRUE(reference::rgb2gray(toOutput(), p, -1, 5, &untouched));
    EXPECT_EQ(untouched, 9);
}

struct Products {
    Floats xx;
    Floats yy;
    Floats xy;
};

Products productsOf(const Bytes& grey, std::int32_t rows, std::int32_t cols) {
    Products out{Floats(grey.size(), -1), Floats(grey.size(), -1), Floats(grey.size(), -1)};
    EXPECT_TRUE(reference::findGradSquareCrossTerms(toOutput(), grey.data(), rows, cols, out.xx.data(),
                                                    out.yy.data(), out.xy.data()));
    return out;
}

TEST(GradientProducts, AreThoseOfQuarteredSobelGradientsInsideTheBorder) {
    // (85, 245) and (-20, 150), a quarter of which is (21, 61) and, without the sign, (5, 37)
    const Products products = productsOf({10, 20, 30, 40, 40, 50, 60, 70, 70, 80, 95, 0}, 3, 4);
    EXPECT_EQ(products.xx, (Floats{-1, -1, -1, -1, -1, 441, 25, -1, -1, -1, -1, -1}));
    EXPECT_EQ(products.yy, (Floats{-1, -1, -1, -1, -1, 3721, 1369, -1, -1, -1, -1, -1}));
    EXPECT_EQ(products.xy, (Floats{-1, -1, -1, -1, -1, 1281, 185, -1, -1, -1, -1, -1}));
}

TEST(GradientProducts, AFullVerticalStepGives65025AndNoCrossTerm) {
    Bytes grey(10 * 10, 0);
    for (std::size_t i = 0; i < grey.size(); ++i)
        if (i % 10 >= 5) grey[i] = 255;
    const Products products = productsOf(grey, 10, 10);
    for (const std::size_t column : {4U, 5U}) {
        EXPECT_EQ(products.xx[50 + column], 65025.0F);
        EXPECT_EQ(products.yy[50 + column], 0.0F);
        EXPECT_EQ(products.xy[50 + column], 0.0F);
    }
}

TEST(GradientProducts, TheCrossTermIsNeverNegative) {
    // brightness rises to the right and falls downwards: the true product would be -18 * 18
    Bytes grey(10 * 10);
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = static_cast<std::uint8_t>(100 + 9 * (i % 10) - 9 * (i / 10));
    EXPECT_EQ(productsOf(grey, 10, 10).xy[55], 324.0F);
}

TEST(GradientProducts, FewerThanThreeRowsDoNothing) {
    for (const auto& [rows, cols] : {std::pair{2, 20}, std::pair{1, 1}, std::pair{20, 2}}) {
        const Products products = productsOf(
            Bytes(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), 50), rows, cols);
        EXPECT_EQ(products.xx, Floats(products.xx.size(), -1));
    }
}

TEST(GradientProducts, RefuseEachNullPointer) {
    std::uint8_t grey[9] = {};
    float out[9];
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return reference::findGradSquareCrossTerms(toOutput(), which == 0 ? nullptr : grey, 3, 3,
                                                       which == 1 ? nullptr : out, which == 2 ? nullptr : out,
                                                       which == 3 ? nullptr : out);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is null"});
    }
}

TEST(Smooth3x3, WeighsTheNeighboursAndKeepsTheBorder) {
    const Bytes image{1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 3};  // 3 x 4
    Bytes out(12, 77);
    EXPECT_TRUE(reference::smooth3x3(toOutput(), image.data(), 3, 4, out.data()));
    EXPECT_EQ(out, (Bytes{77, 77, 77, 77, 77, 5, 4, 77, 77, 77, 77, 77})) << "80 / 16 and 71 / 16";
    EXPECT_TRUE(reference::smooth3x3(toOutput(), image.data(), 2, 6, out.data())) << "nothing is inside";
    EXPECT_EQ(out[5], 5);
    for (const auto& said :
         {listen([&] { return reference::smooth3x3(toOutput(), nullptr, 3, 4, out.data()); }),
          listen([&] { return reference::smooth3x3(toOutput(), image.data(), 3, 4, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is NULL"});
    }
}

TEST(MeanAbsoluteDifference, TruncatesTheMean) {
    const Bytes a{10, 20, 30, 255};
    const Bytes b{12, 10, 30, 0};
    EXPECT_EQ(reference::meanAbsoluteDifference(a.data(), b.data(), 4), 66) << "267 / 4";
    EXPECT_EQ(reference::meanAbsoluteDifference(a.data(), a.data(), 4), 0);
}

TEST(MeanAbsoluteDifference, SumsFramesBeyond32Bits) {
    // 17 million pixels of difference 255 exceed 2^32
    const Bytes black(17000000, 0);
    const Bytes white(17000000, 255);
    EXPECT_EQ(reference::meanAbsoluteDifference(black.data(), white.data(), 17000000), 255);
}

}  // namespace
}  // namespace brantel::test
