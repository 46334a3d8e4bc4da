// Padding and the 5-tap filter on float images.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "common/tuning.h"
#include "registration/filters.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::Lines;
using test::listen;

using Image = std::vector<float>;

Image randomImage(std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    test::Random random(seed);
    Image image(static_cast<std::size_t>(rows) * cols);
    for (float& value : image) value = static_cast<float>(random.between(0, 65025)) * 1.0009765625F;
    return image;
}

std::int32_t mirror(std::int32_t i, std::int32_t length) {
    if (i < 0) return -i;
    return i >= length ? 2 * length - 2 - i : i;
}

float tap5(const float* k, float a, float b, float c, float d, float e) {
    float sum = 0.0F;
    sum = sum + k[0] * a;
    sum = sum + k[1] * b;
    sum = sum + k[2] * c;
    sum = sum + k[3] * d;
    sum = sum + k[4] * e;
    return sum;
}

constexpr std::pair<std::int32_t, std::int32_t> sizes[] = {{3, 3},   {3, 17}, {16, 3},  {5, 5},
                                                           {31, 33}, {8, 64}, {40, 29}, {17, 100}};

TEST(ResponseKernel, HasTheseBits) {
    const std::uint32_t bits[5] = {0x3E40214B, 0x3E53037D, 0x3E59B62C, 0x3E53037D, 0x3E40214B};
    EXPECT_EQ(std::memcmp(responseKernel, bits, sizeof bits), 0);
}

TEST(SmoothingKernel, HasTheseBits) {
    const std::uint32_t bits[5] = {0x3D631E2D, 0x3E7A0FD4, 0x3ECE2435, 0x3E7A0FD4, 0x3D631E2D};
    EXPECT_EQ(std::memcmp(smoothingKernel, bits, sizeof bits), 0);
}

TEST(PadReflect2, MirrorsWithoutRepeatingTheEdgeIntoBothImages) {
    for (const auto& [rows, cols] : sizes) {
        const Image image = randomImage(rows, cols, 1);
        const auto source = GuardedBuffer<float>::copyOf(image);
        const std::size_t padded = static_cast<std::size_t>(rows + 4) * (cols + 4);
        GuardedBuffer<float> a(padded);
        GuardedBuffer<float> b(padded);
        ASSERT_TRUE(padReflect2(source->data(), rows, cols, a.data(), b.data()));
        for (std::int32_t r = -2; r < rows + 2; ++r)
            for (std::int32_t x = -2; x < cols + 2; ++x) {
                const std::size_t at = static_cast<std::size_t>(r + 2) * (cols + 4) + (x + 2);
                ASSERT_EQ(a[at], image[mirror(r, rows) * cols + mirror(x, cols)]) << r << ", " << x;
                ASSERT_EQ(b[at], a[at]);
            }
        EXPECT_TRUE(a.intact() && b.intact());
    }
}

TEST(PadReflect2, ImagesOfTwoRowsOrColumnsAreLeftAlone) {
    for (const auto& [rows, cols] : {std::pair{2, 9}, std::pair{9, 2}, std::pair{1, 1}, std::pair{0, 0}}) {
        Image image(100, 5.0F);
        Image a(200, -1.0F);
        Image b(200, -1.0F);
        EXPECT_TRUE(padReflect2(image.data(), rows, cols, a.data(), b.data()));
        EXPECT_EQ(a, Image(200, -1.0F));
        EXPECT_EQ(b, Image(200, -1.0F));
    }
}

TEST(FilterColumn5, SumsInTheWrittenOrderAndKeepsTheOuterRows) {
    for (const auto& [rows, cols] : sizes) {
        const Image image = randomImage(rows + 4, cols + 4, 2);
        const std::int32_t height = rows + 4;
        const std::int32_t width = cols + 4;
        const auto source = GuardedBuffer<float>::copyOf(image);
        GuardedBuffer<float> out(image.size());
        std::fill(out.begin(), out.end(), -1.0F);
        ASSERT_TRUE(filterColumn5(source->data(), responseKernel, height, width, out.data()));
        for (std::int32_t r = 0; r < height; ++r)
            for (std::int32_t x = 0; x < width; ++x) {
                const std::int32_t i = r * width + x;
                const float expected = r < 2 || r > height - 3
                                           ? -1.0F
                                           : tap5(responseKernel, image[i - 2 * width], image[i - width],
                                                  image[i], image[i + width], image[i + 2 * width]);
                ASSERT_EQ(out[i], expected) << r << ", " << x;
            }
        EXPECT_TRUE(out.intact());
    }
}

TEST(FilterRow5, SumsInTheWrittenOrderAndKeepsTheOuterColumns) {
    for (const auto& [rows, cols] : sizes) {
        const Image image = randomImage(rows + 4, cols + 4, 3);
        const std::int32_t width = cols + 4;
        const auto source = GuardedBuffer<float>::copyOf(image);
        GuardedBuffer<float> out(image.size());
        std::fill(out.begin(), out.end(), -1.0F);
        ASSERT_TRUE(filterRow5(source->data(), responseKernel, rows + 4, width, out.data()));
        for (std::int32_t r = 0; r < rows + 4; ++r)
            for (std::int32_t x = 0; x < width; ++x) {
                const std::int32_t i = r * width + x;
                const float expected = x < 2 || x > width - 3
                                           ? -1.0F
                                           : tap5(responseKernel, image[i - 2], image[i - 1], image[i],
                                                  image[i + 1], image[i + 2]);
                ASSERT_EQ(out[i], expected) << r << ", " << x;
            }
        EXPECT_TRUE(out.intact());
    }
}

TEST(Filters5, FourRowsOrColumnsAreTooFew) {
    const Image image(40, 3.0F);
    Image out(40, -1.0F);
    EXPECT_TRUE(filterColumn5(image.data(), responseKernel, 4, 10, out.data()));
    EXPECT_TRUE(filterRow5(image.data(), responseKernel, 10, 4, out.data()));
    EXPECT_EQ(out, Image(40, -1.0F));
}

TEST(CropPadding2, TakesTheInterior) {
    for (const auto& [rows, cols] : sizes) {
        const Image image = randomImage(rows + 4, cols + 4, 4);
        const auto source = GuardedBuffer<float>::copyOf(image);
        GuardedBuffer<float> out(static_cast<std::size_t>(rows) * cols);
        ASSERT_TRUE(cropPadding2(source->data(), rows + 4, cols + 4, out.data()));
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t x = 0; x < cols; ++x)
                ASSERT_EQ(out[r * cols + x], image[(r + 2) * (cols + 4) + x + 2]);
        EXPECT_TRUE(out.intact());
    }
    float untouched = 9;
    const Image small(16, 1.0F);
    EXPECT_TRUE(cropPadding2(small.data(), 4, 4, &untouched));
    EXPECT_EQ(untouched, 9);
}

/// The chain on plain arrays: mirrored columns first, then mirrored rows of that.
Image literalSmooth(const Image& image, std::int32_t rows, std::int32_t cols) {
    const float* k = responseKernel;
    Image vertical(image.size());
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t x = 0; x < cols; ++x) {
            auto at = [&](std::int32_t row) { return image[mirror(row, rows) * cols + x]; };
            vertical[r * cols + x] = tap5(k, at(r - 2), at(r - 1), at(r), at(r + 1), at(r + 2));
        }
    Image out(image.size());
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t x = 0; x < cols; ++x) {
            auto at = [&](std::int32_t col) { return vertical[r * cols + mirror(col, cols)]; };
            out[r * cols + x] = tap5(k, at(x - 2), at(x - 1), at(x), at(x + 1), at(x + 2));
        }
    return out;
}

TEST(SmoothProduct, FiltersColumnsThenRowsWithTheFlatKernel) {
    for (const auto& [rows, cols] : sizes) {
        const Image before = randomImage(rows, cols, 5);
        const auto image = GuardedBuffer<float>::copyOf(before);
        const std::size_t padded = static_cast<std::size_t>(rows + 4) * (cols + 4);
        GuardedBuffer<float> a(padded);
        GuardedBuffer<float> b(padded);
        smoothProduct(image->data(), rows, cols, a.data(), b.data());
        ASSERT_EQ(Image(image->begin(), image->end()), literalSmooth(before, rows, cols))
            << rows << " x " << cols;
        EXPECT_TRUE(image->intact() && a.intact() && b.intact());
    }
}

TEST(SmoothProduct, TooSmallImagesAreLeftAlone) {
    for (const auto& [rows, cols] : {std::pair{2, 9}, std::pair{9, 2}, std::pair{1, 1}}) {
        Image image = randomImage(rows, cols, 5);
        const Image before = image;
        Image a(300);
        Image b(300);
        smoothProduct(image.data(), rows, cols, a.data(), b.data());
        EXPECT_EQ(image, before);
    }
}

TEST(Filters5, RefuseNullImages) {
    Image image(25);
    float* p = image.data();
    const Lines line{"ptr is NULL"};
    EXPECT_EQ(listen([&] { return padReflect2(nullptr, 5, 5, p, p); }).lines, line);
    EXPECT_EQ(listen([&] { return padReflect2(p, 5, 5, nullptr, p); }).lines, line);
    EXPECT_EQ(listen([&] { return padReflect2(p, 5, 5, p, nullptr); }).lines, line);
    EXPECT_EQ(listen([&] { return filterColumn5(nullptr, responseKernel, 5, 5, p); }).lines, line);
    EXPECT_EQ(listen([&] { return filterColumn5(p, responseKernel, 5, 5, nullptr); }).lines, line);
    EXPECT_EQ(listen([&] { return filterRow5(nullptr, responseKernel, 5, 5, p); }).lines, line);
    EXPECT_EQ(listen([&] { return filterRow5(p, responseKernel, 5, 5, nullptr); }).lines, line);
    EXPECT_EQ(listen([&] { return cropPadding2(nullptr, 5, 5, p); }).lines, line);
    const auto said = listen([&] { return cropPadding2(p, 5, 5, nullptr); });
    EXPECT_EQ(said.lines, line);
    EXPECT_FALSE(said.result);
}

}  // namespace
}  // namespace brantel
