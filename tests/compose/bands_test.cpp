// Clearing bands, padding and cropping columns, the zero-sum row filter.
#include <gtest/gtest.h>

#include <algorithm>

#include "compose/bands.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::Lines;
using test::listen;
using test::toOutput;

const Lines bandLine{"corresRowAllColZero ptr is null"};
const Lines nullLine{"ptr is NULL"};

constexpr std::int32_t rows = 7;
constexpr std::int32_t cols = 11;

bool zeroColumns(std::uint8_t* image, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    return zeroColumnBand8(toOutput(), image, rowCount, cols, from, to);
}
bool zeroColumns(float* image, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    return zeroColumnBandF(toOutput(), image, rowCount, cols, from, to);
}
bool zeroRows(std::uint8_t* image, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    return zeroRowBand8(toOutput(), image, rowCount, cols, from, to);
}
bool zeroRows(float* image, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    return zeroRowBandF(toOutput(), image, rowCount, cols, from, to);
}

/// Clears a band of an image that is told to have so many rows, and looks at every element.
template <class T>
void expectBand(bool ofColumns, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    GuardedBuffer<T> image(rows * cols);
    std::fill(image.begin(), image.end(), T{9});
    EXPECT_TRUE(ofColumns ? zeroColumns(image.data(), rowCount, from, to)
                          : zeroRows(image.data(), rowCount, from, to));
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            const bool inside = ofColumns ? r < rowCount && c >= from && c < to : r >= from && r < to;
            ASSERT_EQ(image[static_cast<std::size_t>(r * cols + c)], inside ? T{0} : T{9}) << r << ", " << c;
        }
    EXPECT_TRUE(image.intact());
}

void expectBands(bool ofColumns, std::int32_t rowCount, std::int32_t from, std::int32_t to) {
    expectBand<std::uint8_t>(ofColumns, rowCount, from, to);
    expectBand<float>(ofColumns, rowCount, from, to);
}

TEST(ZeroColumnBand, ClearsTheColumnsOfEveryRow) {
    for (const auto& [from, to] : {std::pair{0, 1}, {10, 11}, {0, 11}, {3, 7}})
        expectBands(true, rows, from, to);
}

TEST(ZeroColumnBand, AnEmptyRangeOrNoRowsClearNothing) {
    for (const auto& [from, to] : {std::pair{4, 4}, {7, 3}}) expectBands(true, rows, from, to);
    for (const std::int32_t rowCount : {0, -3}) expectBands(true, rowCount, 0, 4);
}

TEST(ZeroRowBand, ClearsWholeRowsWhateverTheRowCountSays) {
    for (const std::int32_t rowCount : {rows, 0, -1})
        for (const auto& [from, to] : {std::pair{0, 1}, {6, 7}, {2, 5}})
            expectBands(false, rowCount, from, to);
}

TEST(ZeroRowBand, AnEmptyRangeClearsNothing) {
    for (const auto& [from, to] : {std::pair{4, 4}, {5, 3}}) expectBands(false, rows, from, to);
}

TEST(ZeroBands, RefuseNullImagesEvenForEmptyRanges) {
    std::uint8_t* bytes = nullptr;
    float* floats = nullptr;
    for (const std::int32_t to : {3, 4})
        for (const auto& said : {listen([&] { return zeroColumns(bytes, rows, 3, to); }),
                                 listen([&] { return zeroColumns(floats, rows, 3, to); }),
                                 listen([&] { return zeroRows(bytes, rows, 3, to); }),
                                 listen([&] { return zeroRows(floats, rows, 3, to); })}) {
            EXPECT_FALSE(said.result);
            EXPECT_EQ(said.lines, bandLine);
        }
}

TEST(ClearMaskEdge, ClearsTheOutermostRowsAndColumns) {
    for (const auto& [height, width] : {std::pair{1, 1}, {1, 9}, {2, 2}, {3, 3}, {5, 40}, {33, 47}}) {
        GuardedBuffer<float> mask(static_cast<std::size_t>(height * width));
        std::fill(mask.begin(), mask.end(), 255.0F);
        ASSERT_TRUE(clearMaskEdge(toOutput(), mask.data(), height, width));
        for (std::int32_t r = 0; r < height; ++r)
            for (std::int32_t c = 0; c < width; ++c) {
                const bool edge = r == 0 || c == 0 || r == height - 1 || c == width - 1;
                ASSERT_EQ(mask[static_cast<std::size_t>(r * width + c)], edge ? 0.0F : 255.0F);
            }
        EXPECT_TRUE(mask.intact());
    }
    const auto said = listen([] { return clearMaskEdge(toOutput(), nullptr, 3, 3); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, bandLine);
}

TEST(PadColumnsMirror, MirrorsOnTheLeftAndCopiesInAscendingOrderOnTheRight) {
    for (const std::int32_t border : {0, 1, 2, 4}) {
        const auto image = test::randomBytes(rows * cols, 1);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
        const std::int32_t width = cols + 2 * border;
        GuardedBuffer<std::uint8_t> out(static_cast<std::size_t>(rows * width));
        ASSERT_TRUE(padColumnsMirror(toOutput(), source->data(), rows, cols, border, out.data()));
        for (std::int32_t r = 0; r < rows; ++r) {
            for (std::int32_t k = 0; k < border; ++k) {
                ASSERT_EQ(out[r * width + k], image[r * cols + border - k]);
                ASSERT_EQ(out[r * width + cols + border + k], image[r * cols + cols - border - 1 + k]);
            }
            for (std::int32_t c = 0; c < cols; ++c)
                ASSERT_EQ(out[r * width + border + c], image[r * cols + c]);
        }
        EXPECT_TRUE(out.intact());
    }
}

TEST(PadColumnsMirror, BorderOneIsATrueMirrorBorderTwoAShiftedCopyOnTheRight) {
    const std::uint8_t row[6] = {1, 2, 3, 4, 5, 6};
    std::uint8_t one[8] = {};
    ASSERT_TRUE(padColumnsMirror(toOutput(), row, 1, 6, 1, one));
    EXPECT_EQ(std::vector<std::uint8_t>(one, one + 8), (std::vector<std::uint8_t>{2, 1, 2, 3, 4, 5, 6, 5}));
    std::uint8_t two[10] = {};
    ASSERT_TRUE(padColumnsMirror(toOutput(), row, 1, 6, 2, two));
    EXPECT_EQ(std::vector<std::uint8_t>(two, two + 10),
              (std::vector<std::uint8_t>{3, 2, 1, 2, 3, 4, 5, 6, 4, 5}));
}

TEST(PadColumnsMirror, ThenCropColumnsGivesTheSourceBack) {
    for (const std::int32_t border : {1, 2, 5}) {
        const auto image = test::randomBytes(rows * cols, 2);
        std::vector<std::uint8_t> padded(static_cast<std::size_t>(rows * (cols + 2 * border)));
        std::vector<std::uint8_t> back(image.size());
        ASSERT_TRUE(padColumnsMirror(toOutput(), image.data(), rows, cols, border, padded.data()));
        ASSERT_TRUE(cropColumns(toOutput(), padded.data(), rows, cols + 2 * border, border, back.data()));
        EXPECT_EQ(back, image);
    }
}

TEST(FilterRowZeroSum9, SumsItsNineTapsModulo256) {
    static constexpr std::int32_t taps[9] = {-1, -2, -1, 2, 4, 2, -1, -2, -1};
    for (const std::int32_t width : {9, 10, 31, 64}) {
        const auto image = test::randomBytes(rows * width, 3);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
        GuardedBuffer<std::uint8_t> out(image.size());
        std::fill(out.begin(), out.end(), 77);
        ASSERT_TRUE(filterRowZeroSum9(toOutput(), source->data(), rows, width, 12345, out.data()));
        for (std::int32_t r = 0; r < rows; ++r)
            for (std::int32_t c = 0; c < width; ++c) {
                std::uint8_t expected = 77;  // four columns on each side are not written
                if (c >= 4 && c <= width - 5) {
                    expected = 0;
                    for (std::int32_t t = 0; t < 9; ++t)
                        expected =
                            static_cast<std::uint8_t>(expected + taps[t] * image[r * width + c - 4 + t]);
                }
                ASSERT_EQ(out[r * width + c], expected) << r << ", " << c;
            }
        EXPECT_TRUE(out.intact());
    }
}

TEST(FilterRowZeroSum9, AConstantRowGivesZero) {
    const std::vector<std::uint8_t> image(20, 201);
    std::vector<std::uint8_t> out(20, 9);
    ASSERT_TRUE(filterRowZeroSum9(toOutput(), image.data(), 1, 20, 0, out.data()));
    for (std::size_t c = 0; c < 20; ++c) EXPECT_EQ(out[c], c >= 4 && c <= 15 ? 0 : 9);
}

TEST(FilterRowZeroSum9, EightColumnsOrNoRowsWriteNothing) {
    const std::vector<std::uint8_t> image(80, 1);
    std::vector<std::uint8_t> out(80, 9);
    EXPECT_TRUE(filterRowZeroSum9(toOutput(), image.data(), 10, 8, 0, out.data()));
    EXPECT_TRUE(filterRowZeroSum9(toOutput(), image.data(), 0, 40, 0, out.data()));
    EXPECT_EQ(out, std::vector<std::uint8_t>(80, 9));
}

TEST(CropColumns, CopiesTheInnerColumns) {
    const auto image = test::randomBytes(rows * cols, 4);
    GuardedBuffer<std::uint8_t> out(rows * 5);
    ASSERT_TRUE(cropColumns(toOutput(), image.data(), rows, cols, 3, out.data()));
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < 5; ++c) ASSERT_EQ(out[r * 5 + c], image[r * cols + c + 3]);
    EXPECT_TRUE(out.intact());
}

TEST(CropColumns, NothingIsLeftOfTooWideABorder) {
    const std::vector<std::uint8_t> image(40, 1);
    std::uint8_t out = 9;
    EXPECT_TRUE(cropColumns(toOutput(), image.data(), 5, 8, 4, &out));
    EXPECT_TRUE(cropColumns(toOutput(), image.data(), 5, 8, 6, &out));
    EXPECT_TRUE(cropColumns(toOutput(), image.data(), 0, 8, 1, &out));
    EXPECT_EQ(out, 9);
}

TEST(ColumnOperations, RefuseNullImages) {
    std::uint8_t p[90] = {};
    for (const auto& said : {listen([&] { return padColumnsMirror(toOutput(), nullptr, 2, 3, 1, p); }),
                             listen([&] { return padColumnsMirror(toOutput(), p, 2, 3, 1, nullptr); }),
                             listen([&] { return filterRowZeroSum9(toOutput(), nullptr, 2, 20, 0, p); }),
                             listen([&] { return filterRowZeroSum9(toOutput(), p, 2, 20, 0, nullptr); }),
                             listen([&] { return cropColumns(toOutput(), nullptr, 2, 5, 1, p); }),
                             listen([&] { return cropColumns(toOutput(), p, 2, 5, 1, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, nullLine);
    }
}

}  // namespace
}  // namespace brantel
