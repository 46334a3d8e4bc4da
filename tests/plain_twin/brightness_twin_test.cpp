// The brightness measures round like one float that takes every byte by itself, at every instruction level.
#include <gtest/gtest.h>

#include <cstring>

#include "compose/judgement.h"
#include "plain/judgement.h"
#include "plain_twin/at_level.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void expectSameMeasures(const std::vector<std::uint8_t>& grey, std::int32_t rows, std::int32_t cols) {
    const std::uint32_t mean = bitsOf(plain::meanGrey(grey.data(), rows, cols));
    const std::uint32_t bright = bitsOf(plain::meanOfBright(grey.data(), std::int64_t{rows} * cols));
    for (const simd::Level level : simd::supportedLevels()) {
        SCOPED_TRACE(simd::nameOf(level));
        const AtLevel forced(level);
        EXPECT_EQ(bitsOf(meanGrey(grey.data(), rows, cols)), mean);
        EXPECT_EQ(bitsOf(meanOfBright(grey.data(), std::int64_t{rows} * cols)), bright);
    }
}

TEST(BrightnessTwin, SmallAndOddSizesAgree) {
    for (const auto& [rows, cols] :
         {std::pair{1, 1}, {4, 4}, {5, 5}, {1, 777}, {777, 1}, {6, 133}, {211, 97}})
        expectSameMeasures(randomBytes(std::int64_t{rows} * cols, rows + cols), rows, cols);
}

TEST(BrightnessTwin, SumsThatRoundAgree) {
    // up to 2^30: floats are then 128 apart
    constexpr std::int32_t rows = 2101;
    constexpr std::int32_t cols = 2003;
    expectSameMeasures(randomBytes(std::int64_t{rows} * cols, 5), rows, cols);
    for (const std::int32_t value : {11, 12, 64, 128, 129, 192, 255})
        expectSameMeasures(
            std::vector<std::uint8_t>(std::size_t{rows} * cols, static_cast<std::uint8_t>(value)), rows,
            cols);
}

TEST(BrightnessTwin, ManyTiesAgree) {
    // halves of each spacing, some of them one off
    constexpr std::int32_t rows = 1500;
    constexpr std::int32_t cols = 1501;
    Random random(9);
    for (std::int32_t half = 1; half <= 64; half *= 2) {
        std::vector<std::uint8_t> grey(std::size_t{rows} * cols);
        for (std::uint8_t& value : grey)
            value = static_cast<std::uint8_t>(
                std::min(255, random.between(0, 255 / half) * half + (random.between(0, 9) == 0 ? 1 : 0)));
        SCOPED_TRACE(half);
        expectSameMeasures(grey, rows, cols);
    }
}

}  // namespace
}  // namespace brantel::test
