// Reduction of frames by whole factors.
#include <gtest/gtest.h>

#include <algorithm>

#include "compose/reduction.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::listen;
using test::toOutput;

std::vector<std::uint8_t> reduced(const std::vector<std::uint8_t>& source, std::int32_t rows,
                                  std::int32_t cols, std::int32_t factor, std::int32_t channels,
                                  std::int64_t outPixels) {
    const auto from = GuardedBuffer<std::uint8_t>::copyOf(source);
    GuardedBuffer<std::uint8_t> out(static_cast<std::size_t>(outPixels * channels));
    EXPECT_TRUE(downscaleImage(toOutput(), from->data(), rows, cols, factor, channels, out.data()));
    EXPECT_TRUE(out.intact());
    return {out.begin(), out.end()};
}

constexpr std::pair<std::int32_t, std::int32_t> sizes[] = {
    {8, 8}, {9, 13}, {64, 66}, {31, 131}, {1, 40}, {40, 1}, {2, 2}, {3, 3}, {33, 64}, {100, 7}, {12, 257}};

TEST(Downscale, FactorOneCopies) {
    for (const std::int32_t channels : {1, 3})
        for (const auto& [rows, cols] : sizes) {
            const auto source = test::randomBytes(std::int64_t{rows} * cols * channels, 1);
            EXPECT_EQ(reduced(source, rows, cols, 1, channels, std::int64_t{rows} * cols), source);
        }
}

TEST(Downscale, FactorsTwoAndFourTakeEverySecondAndEveryFourthPixel) {
    for (const std::int32_t factor : {2, 4})
        for (const std::int32_t channels : {1, 3})
            for (const auto& [rows, cols] : sizes) {
                const auto source = test::randomBytes(std::int64_t{rows} * cols * channels, 2);
                const std::int32_t outRows = rows / factor;
                const std::int32_t outCols = cols / factor;
                const auto out =
                    reduced(source, rows, cols, factor, channels, std::int64_t{outRows} * outCols);
                for (std::int32_t r = 0; r < outRows; ++r)
                    for (std::int32_t x = 0; x < outCols; ++x)
                        for (std::int32_t c = 0; c < channels; ++c)
                            ASSERT_EQ(out[(r * outCols + x) * channels + c],
                                      source[(factor * r * cols + factor * x) * channels + c]);
            }
}

TEST(Downscale, LargerEvenFactorsRunAheadAndReadBlackBeyondThePicture) {
    for (const std::int32_t factor : {6, 8, 10, 64})
        for (const std::int32_t channels : {1, 3}) {
            constexpr std::int32_t rows = 130;
            constexpr std::int32_t cols = 140;
            const auto source = test::randomBytes(std::int64_t{rows} * cols * channels, 4);
            const std::int32_t outRows = rows / factor;
            const std::int32_t outCols = cols / factor;
            const auto out = reduced(source, rows, cols, factor, channels, std::int64_t{outRows} * outCols);
            for (std::int32_t r = 0; r < outRows; ++r)
                for (std::int32_t x = 0; x < outCols; ++x) {
                    const std::int64_t from = (std::int64_t{r} * cols + x) << (factor / 2);
                    for (std::int32_t c = 0; c < channels; ++c)
                        ASSERT_EQ(out[(r * outCols + x) * channels + c],
                                  from < rows * cols ? source[from * channels + c] : 0);
                }
        }
}

TEST(Downscale, OddFactorsSampleAtRoundedSizes) {
    // factor 3: 10 rows give 3 (3.33 + 0.5), 11 columns give 4 (3.67 + 0.5)
    for (const std::int32_t channels : {1, 3}) {
        const auto source = test::randomBytes(10 * 11 * channels, 5);
        const auto out = reduced(source, 10, 11, 3, channels, 3 * 4);
        for (std::int32_t r = 0; r < 3; ++r)
            for (std::int32_t x = 0; x < 4; ++x)
                for (std::int32_t c = 0; c < channels; ++c)
                    EXPECT_EQ(out[(r * 4 + x) * channels + c], source[(3 * r * 11 + 3 * x) * channels + c]);
    }
}

TEST(Downscale, AFactorBeyondThePictureGivesNothingOrOnePixel) {
    const auto source = test::randomBytes(4 * 4, 6);
    std::uint8_t out = 77;
    EXPECT_TRUE(downscaleImage(toOutput(), source.data(), 4, 4, 1000000, 1, &out));
    EXPECT_EQ(out, 77);
    EXPECT_TRUE(downscaleImage(toOutput(), source.data(), 4, 4, 5, 1, &out));
    EXPECT_EQ(out, source[0]) << "4 / 5 rounds to one pixel";
}

TEST(Downscale, OtherChannelCountsWriteNothing) {
    const auto source = test::randomBytes(8 * 8 * 4, 7);
    std::vector<std::uint8_t> out(64, 9);
    for (const std::int32_t channels : {0, 2, 4, -1})
        EXPECT_TRUE(downscaleImage(toOutput(), source.data(), 8, 8, 2, channels, out.data()));
    EXPECT_EQ(out, std::vector<std::uint8_t>(64, 9));
}

TEST(Downscale, RefusesNullImagesAndFactorZero) {
    std::uint8_t pixel[4] = {};
    const test::Lines line{"src is null || scale is 0"};
    for (const auto& said : {listen([&] { return downscaleImage(toOutput(), nullptr, 2, 2, 2, 1, pixel); }),
                             listen([&] { return downscaleImage(toOutput(), pixel, 2, 2, 2, 1, nullptr); }),
                             listen([&] { return downscaleImage(toOutput(), pixel, 2, 2, 0, 1, pixel); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, line);
    }
}

TEST(TakeFrame, CopiesOrFillsTheFrontAndBlackensTheRest) {
    const ImageDesc size{0, 3, 9, 14};
    const auto source = test::randomBytes(size.bytes(), 8);
    std::vector<std::uint8_t> taken(source.size(), 77);
    takeFrame(toOutput(), taken.data(), source.data(), 1, size);
    EXPECT_EQ(taken, source);
    takeFrame(toOutput(), taken.data(), source.data(), 2, size);
    std::vector<std::uint8_t> expected = reduced(source, 9, 14, 2, 3, 4 * 7);
    expected.resize(source.size(), 0);
    EXPECT_EQ(taken, expected);
}

}  // namespace
}  // namespace brantel
