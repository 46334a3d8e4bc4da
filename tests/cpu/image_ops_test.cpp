// The CPU's image operations, held against their definitions on odd sizes at guard pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "common/tuning.h"
#include "cpu/image_ops.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::Lines;
using test::listen;

using Bytes = std::vector<std::uint8_t>;
constexpr std::pair<std::int32_t, std::int32_t> sizes[] = {{3, 3},   {5, 5},  {4, 9},    {9, 4},  {6, 33},
                                                           {33, 64}, {17, 5}, {31, 131}, {64, 65}};

std::int32_t mirror(std::int32_t i, std::int32_t length) {
    if (i < 0) return -i;
    return i >= length ? 2 * length - 2 - i : i;
}

TEST(Rgb2Gray, RoundsItsWeightsInThousandths) {
    const Bytes bgr{255, 255, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 1, 4, 0, 0};
    Bytes grey(8, 9);
    EXPECT_TRUE(rgb2gray(bgr.data(), 2, 4, grey.data()));
    EXPECT_EQ(grey, (Bytes{255, 76, 150, 29, 0, 1, 0, 0}));
}

TEST(Rgb2Gray, AgreesWithTheFormulaOnRandomFrames) {
    for (const auto& [rows, cols] : sizes) {
        const Bytes bgr = test::randomBytes(std::int64_t{rows} * cols * 3, 1);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(bgr);
        GuardedBuffer<std::uint8_t> grey(static_cast<std::size_t>(rows) * cols);
        ASSERT_TRUE(rgb2gray(source->data(), rows, cols, grey.data()));
        for (std::size_t i = 0; i < grey.size(); ++i)
            ASSERT_EQ(grey[i],
                      (bgr[3 * i] * 114U + bgr[3 * i + 1] * 587U + bgr[3 * i + 2] * 299U + 500U) / 1000U);
        EXPECT_TRUE(grey.intact());
    }
}

TEST(Rgb2Gray, AgreesWithTheFormulaForEveryPairOfSamplesAtEveryLevelOfTheThird) {
    for (unsigned third = 0; third < 256; third += 15) {
        Bytes bgr;
        for (unsigned a = 0; a < 256; ++a)
            for (unsigned b = 0; b < 256; ++b)
                for (const unsigned s : {a, b, third}) bgr.push_back(static_cast<std::uint8_t>(s));
        Bytes grey(256 * 256);
        ASSERT_TRUE(rgb2gray(bgr.data(), 256, 256, grey.data()));
        for (std::size_t i = 0; i < grey.size(); ++i)
            ASSERT_EQ(grey[i],
                      (bgr[3 * i] * 114U + bgr[3 * i + 1] * 587U + bgr[3 * i + 2] * 299U + 500U) / 1000U);
    }
}

TEST(Rgb2Gray, RefusesNullAndSkipsFramesWithoutRows) {
    std::uint8_t p[3] = {};
    for (const auto& said : {listen([&] { return rgb2gray(nullptr, 1, 1, p); }),
                             listen([&] { return rgb2gray(p, 1, 1, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"rgb2gray ptr invailed"});
    }
    std::uint8_t untouched = 9;
    EXPECT_TRUE(rgb2gray(p, 0, 5, &untouched));
    EXPECT_TRUE(rgb2gray(p, -1, 5, &untouched));
    EXPECT_EQ(untouched, 9);
}

struct Products {
    std::vector<float> xx;
    std::vector<float> yy;
    std::vector<float> xy;
};

Products productsOf(const Bytes& grey, std::int32_t rows, std::int32_t cols) {
    const auto source = GuardedBuffer<std::uint8_t>::copyOf(grey);
    GuardedBuffer<float> xx(grey.size());
    GuardedBuffer<float> yy(grey.size());
    GuardedBuffer<float> xy(grey.size());
    for (auto* image : {&xx, &yy, &xy}) std::fill(image->begin(), image->end(), -1.0F);
    EXPECT_TRUE(findGradSquareCrossTerms(source->data(), rows, cols, xx.data(), yy.data(), xy.data()));
    EXPECT_TRUE(xx.intact() && yy.intact() && xy.intact());
    return {{xx.begin(), xx.end()}, {yy.begin(), yy.end()}, {xy.begin(), xy.end()}};
}

TEST(GradientProducts, AgreeWithTheFormulaAndKeepTheBorder) {
    for (const auto& [rows, cols] : sizes) {
        const Bytes grey = test::randomBytes(std::int64_t{rows} * cols, 2);
        const Products actual = productsOf(grey, rows, cols);
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c) {
                const std::size_t i = static_cast<std::size_t>(r) * cols + c;
                float xx = -1;
                float yy = -1;
                float xy = -1;
                if (r > 0 && c > 0 && r < rows - 1 && c < cols - 1) {
                    auto p = [&, row = r, col = c](std::int32_t dr, std::int32_t dc) {
                        return static_cast<std::int32_t>(grey[(row + dr) * cols + col + dc]);
                    };
                    const std::int32_t gy =
                        2 * (p(1, 0) - p(-1, 0)) + p(1, -1) + p(1, 1) - p(-1, -1) - p(-1, 1);
                    const std::int32_t gx =
                        2 * (p(0, 1) - p(0, -1)) + p(-1, 1) + p(1, 1) - p(-1, -1) - p(1, -1);
                    const std::int32_t ax = std::abs(gx) >> 2;
                    const std::int32_t ay = std::abs(gy) >> 2;
                    xx = static_cast<float>(ax * ax);
                    yy = static_cast<float>(ay * ay);
                    xy = static_cast<float>(ax * ay);
                }
                ASSERT_EQ(actual.xx[i], xx);
                ASSERT_EQ(actual.yy[i], yy);
                ASSERT_EQ(actual.xy[i], xy);
            }
    }
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
    // brightness rises to the right and falls downwards: the true product would be negative
    Bytes grey(10 * 10);
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = static_cast<std::uint8_t>(100 + 9 * (i % 10) - 9 * (i / 10));
    EXPECT_GT(productsOf(grey, 10, 10).xy[55], 0.0F);
}

TEST(GradientProducts, FewerThanThreeRowsDoNothing) {
    for (const auto& [rows, cols] : {std::pair{2, 20}, std::pair{1, 1}, std::pair{20, 2}}) {
        const Products products = productsOf(test::randomBytes(std::int64_t{rows} * cols, 1), rows, cols);
        EXPECT_EQ(products.xx, std::vector<float>(products.xx.size(), -1.0F));
    }
}

TEST(GradientProducts, RefuseEachNullPointer) {
    std::uint8_t grey[9] = {};
    float out[9];
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return findGradSquareCrossTerms(which == 0 ? nullptr : grey, 3, 3, which == 1 ? nullptr : out,
                                            which == 2 ? nullptr : out, which == 3 ? nullptr : out);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is null"});
    }
}

TEST(PadReflect101, MirrorsWithoutRepeatingTheEdgeIntoBothDestinations) {
    for (const std::int32_t border : {1, 2})
        for (const auto& [rows, cols] : sizes) {
            const Bytes image = test::randomBytes(std::int64_t{rows} * cols, 3);
            const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
            const std::int32_t width = cols + 2 * border;
            const std::size_t padded = static_cast<std::size_t>(rows + 2 * border) * width;
            GuardedBuffer<std::uint8_t> a(padded);
            GuardedBuffer<std::uint8_t> b(padded);
            ASSERT_TRUE(padReflect101(source->data(), rows, cols, border, a.data(), b.data()));
            for (std::int32_t r = -border; r < rows + border; ++r)
                for (std::int32_t c = -border; c < cols + border; ++c) {
                    const std::size_t at = static_cast<std::size_t>(r + border) * width + (c + border);
                    ASSERT_EQ(a[at], image[mirror(r, rows) * cols + mirror(c, cols)]);
                    ASSERT_EQ(b[at], a[at]);
                }
            EXPECT_TRUE(a.intact() && b.intact());
        }
}

TEST(PadReflect101, ImagesNoLargerThanTheBorderAreLeftAlone) {
    const Bytes image(20, 1);
    Bytes out(200, 9);
    for (const auto& [rows, cols] : {std::pair{2, 9}, std::pair{9, 2}, std::pair{1, 1}})
        EXPECT_TRUE(padReflect101(image.data(), rows, cols, 2, out.data(), out.data()));
    EXPECT_EQ(out, Bytes(200, 9));
}

TEST(Smooth3x3, AgreesWithTheFormulaAndKeepsTheBorder) {
    for (const auto& [rows, cols] : sizes) {
        const Bytes image = test::randomBytes(std::int64_t{rows} * cols, 4);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
        GuardedBuffer<std::uint8_t> out(image.size());
        std::fill(out.begin(), out.end(), 77);
        ASSERT_TRUE(smooth3x3(source->data(), rows, cols, out.data()));
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < cols; ++c) {
                std::int32_t expected = 77;
                if (r > 0 && c > 0 && r < rows - 1 && c < cols - 1) {
                    expected = 0;
                    for (std::int32_t dr = -1; dr <= 1; ++dr)
                        for (std::int32_t dc = -1; dc <= 1; ++dc)
                            expected +=
                                image[(r + dr) * cols + c + dc] * (dr == 0 ? 2 : 1) * (dc == 0 ? 2 : 1);
                    expected >>= 4;
                }
                ASSERT_EQ(out[static_cast<std::size_t>(r) * cols + c], expected);
            }
        EXPECT_TRUE(out.intact());
    }
}

float tap5(const std::int32_t* p) {
    float sum = 0.0F;
    for (int t = 0; t < 5; ++t) sum = sum + smoothingKernel[t] * static_cast<float>(p[t]);
    return sum;
}

enum class Along { columns, rows };

void expectFiltered(Along along, const Bytes& image, std::int32_t rows, std::int32_t cols) {
    const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
    GuardedBuffer<std::uint8_t> out(image.size());
    std::fill(out.begin(), out.end(), 77);
    ASSERT_TRUE(along == Along::columns ? filterColumn5u8(source->data(), rows, cols, out.data())
                                        : filterRow5u8(source->data(), rows, cols, out.data()));
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            const std::int32_t at = along == Along::columns ? r : c;
            const std::int32_t length = along == Along::columns ? rows : cols;
            std::int32_t expected = 77;
            if (at >= 2 && at <= length - 3) {
                std::int32_t taps[5];
                for (std::int32_t t = -2; t <= 2; ++t)
                    taps[t + 2] =
                        along == Along::columns ? image[(r + t) * cols + c] : image[r * cols + c + t];
                expected = static_cast<std::int32_t>(tap5(taps));
            }
            ASSERT_EQ(out[static_cast<std::size_t>(r) * cols + c], expected) << r << ", " << c;
        }
    EXPECT_TRUE(out.intact());
}

TEST(Filter5u8, AgreesWithTheWrittenOrderAlongColumnsAndRows) {
    for (const auto& [rows, cols] : sizes)
        for (const Along along : {Along::columns, Along::rows}) {
            expectFiltered(along, test::randomBytes(std::int64_t{rows} * cols, 5), rows, cols);
            expectFiltered(along, Bytes(static_cast<std::size_t>(rows) * cols, 255), rows, cols);
            expectFiltered(along, Bytes(static_cast<std::size_t>(rows) * cols, 1), rows, cols);
        }
}

TEST(Filter5u8, FourRowsOrColumnsAreLeftUnchanged) {
    const Bytes image(40, 200);
    Bytes out(40, 77);
    EXPECT_TRUE(filterColumn5u8(image.data(), 4, 10, out.data()));
    EXPECT_TRUE(filterRow5u8(image.data(), 10, 4, out.data()));
    EXPECT_EQ(out, Bytes(40, 77));
}

TEST(CropBorder, TakesTheInterior) {
    for (const std::int32_t border : {0, 1, 2}) {
        const Bytes image = test::randomBytes(9 * 13, 6);
        const std::int32_t outRows = 9 - 2 * border;
        const std::int32_t outCols = 13 - 2 * border;
        GuardedBuffer<std::uint8_t> out(static_cast<std::size_t>(outRows * outCols));
        ASSERT_TRUE(cropBorder(image.data(), 9, 13, border, out.data()));
        for (std::int32_t r = 0; r < outRows; ++r)
            for (std::int32_t c = 0; c < outCols; ++c)
                ASSERT_EQ(out[r * outCols + c], image[(r + border) * 13 + c + border]);
        EXPECT_TRUE(out.intact());
    }
    std::uint8_t untouched = 9;
    const Bytes image(16, 1);
    EXPECT_TRUE(cropBorder(image.data(), 4, 4, 2, &untouched));
    EXPECT_EQ(untouched, 9);
}

TEST(ByteOperations, RefuseNullImages) {
    std::uint8_t p[200] = {};
    const Lines line{"ptr is NULL"};
    for (const auto& said : {listen([&] { return padReflect101(nullptr, 5, 5, 2, p, p); }),
                             listen([&] { return padReflect101(p, 5, 5, 2, nullptr, p); }),
                             listen([&] { return smooth3x3(nullptr, 5, 5, p); }),
                             listen([&] { return smooth3x3(p, 5, 5, nullptr); }),
                             listen([&] { return filterColumn5u8(nullptr, 5, 5, p); }),
                             listen([&] { return filterColumn5u8(p, 5, 5, nullptr); }),
                             listen([&] { return filterRow5u8(nullptr, 5, 5, p); }),
                             listen([&] { return filterRow5u8(p, 5, 5, nullptr); }),
                             listen([&] { return cropBorder(nullptr, 5, 5, 2, p); }),
                             listen([&] { return cropBorder(p, 5, 5, 2, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, line);
    }
}

/// Mirrored columns first, truncated to bytes, then mirrored rows of that.
Bytes literalSmooth(const Bytes& image, std::int32_t rows, std::int32_t cols) {
    Bytes vertical(image.size());
    Bytes out(image.size());
    std::int32_t taps[5];
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            for (std::int32_t t = -2; t <= 2; ++t) taps[t + 2] = image[mirror(r + t, rows) * cols + c];
            vertical[r * cols + c] = static_cast<std::uint8_t>(tap5(taps));
        }
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            for (std::int32_t t = -2; t <= 2; ++t) taps[t + 2] = vertical[r * cols + mirror(c + t, cols)];
            out[r * cols + c] = static_cast<std::uint8_t>(tap5(taps));
        }
    return out;
}

TEST(SmoothGrey, FiltersVerticallyThenHorizontally) {
    for (const auto& [rows, cols] : sizes) {
        const Bytes before = test::randomBytes(std::int64_t{rows} * cols, 7);
        const auto image = GuardedBuffer<std::uint8_t>::copyOf(before);
        const std::size_t padded = static_cast<std::size_t>(rows + 4) * (cols + 4);
        GuardedBuffer<std::uint8_t> a(padded);
        GuardedBuffer<std::uint8_t> b(padded);
        smoothGrey(image->data(), rows, cols, a.data(), b.data());
        ASSERT_EQ(Bytes(image->begin(), image->end()), literalSmooth(before, rows, cols))
            << rows << " x " << cols;
        EXPECT_TRUE(image->intact() && a.intact() && b.intact());
    }
}

TEST(SmoothGrey, ImagesTooSmallForTheBorderAreLeftAlone) {
    Bytes image = test::randomBytes(2 * 9, 7);
    const Bytes before = image;
    Bytes scratch(200);
    smoothGrey(image.data(), 2, 9, scratch.data(), scratch.data());
    smoothGrey(image.data(), 9, 2, scratch.data(), scratch.data());
    EXPECT_EQ(image, before);
}

TEST(MeanAbsoluteDifference, TruncatesTheMean) {
    const Bytes a{10, 20, 30, 255};
    const Bytes b{12, 10, 30, 0};
    EXPECT_EQ(meanAbsoluteDifference(a.data(), b.data(), 4), 66) << "267 / 4";
    EXPECT_EQ(meanAbsoluteDifference(a.data(), a.data(), 4), 0);
    const Bytes black(5000, 0);
    const Bytes white(5000, 255);
    EXPECT_EQ(meanAbsoluteDifference(black.data(), white.data(), 5000), 255);
}

TEST(MeanAbsoluteDifference, SumsFramesBeyond32Bits) {
    // 17 million pixels of difference 255 exceed 2^32
    const Bytes black(17000000, 0);
    const Bytes white(17000000, 255);
    EXPECT_EQ(meanAbsoluteDifference(black.data(), white.data(), 17000000), 255);
}

TEST(MeanAbsoluteDifference, CountsEveryPixelOfOddLengths) {
    for (const std::size_t length : {1U, 15U, 31U, 33U, 63U, 65U, 1000U}) {
        const Bytes a = test::randomBytes(static_cast<std::int64_t>(length), 1);
        const Bytes b = test::randomBytes(static_cast<std::int64_t>(length), 2);
        const auto ga = GuardedBuffer<std::uint8_t>::copyOf(a);
        const auto gb = GuardedBuffer<std::uint8_t>::copyOf(b);
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < length; ++i) sum += std::abs(a[i] - b[i]);
        EXPECT_EQ(meanAbsoluteDifference(ga->data(), gb->data(), static_cast<std::int64_t>(length)),
                  sum / static_cast<std::int64_t>(length));
    }
}

}  // namespace
}  // namespace brantel
