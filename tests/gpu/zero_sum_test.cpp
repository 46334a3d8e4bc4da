// The zero-sum filter's answer to an overlap cut.
#include "gpu/zero_sum.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "reference/zero_sum.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

// The 9 taps sum to 0: what is even vanishes, edges are cleared, a single grain leaves the product of its
// taps.
TEST(ZeroSumImage, AnswersToAGrainOnly) {
    constexpr std::int32_t rows = 60, cols = 80;
    std::vector<std::uint8_t> grey(rows * cols, 50);
    Buffer<std::uint8_t> out;
    zeroSumImage(toOutput(), grey.data(), rows, cols, out);
    ASSERT_EQ(out.size(), 30 * 40);
    EXPECT_TRUE(std::all_of(out.data(), out.data() + out.size(), [](std::uint8_t v) { return v == 0; }));

    grey[30 * cols + 40] = 51;  // row 15, column 20 of the halved image
    zeroSumImage(toOutput(), grey.data(), rows, cols, out);
    EXPECT_EQ(out.data()[15 * 40 + 20], 16);
    EXPECT_EQ(out.data()[15 * 40 + 21], 8);
    EXPECT_EQ(out.data()[16 * 40 + 21], 4);
    EXPECT_EQ(out.data()[15 * 40 + 23], 256 - 8);
    EXPECT_EQ(out.data()[11 * 40 + 16], 1);
    EXPECT_EQ(out.data()[15 * 40 + 25], 0);
}

TEST(ZeroSumImage, LeavesImagesAloneThatAreTooSmall) {
    const std::vector<std::uint8_t> grey(100, 50);
    Buffer<std::uint8_t> out;
    for (const std::int32_t side : {0, 1, 2, 8, 9}) zeroSumImage(toOutput(), grey.data(), side, side, out);
    EXPECT_TRUE(out.empty());
    zeroSumImage(toOutput(), grey.data(), 10, 10, out);
    EXPECT_EQ(out.size(), 25);
}

TEST(ZeroSumImage, IsTheReferencesWhateverTheSize) {
    Buffer<std::uint8_t> out;
    for (const std::int32_t rows : {10, 11, 12, 13, 17, 18, 31, 64, 101})
        for (const std::int32_t cols : {10, 11, 20, 21, 22, 23, 40, 77, 131, 200}) {
            const std::vector<std::uint8_t> grey =
                randomBytes(std::int64_t{rows} * cols, static_cast<std::uint64_t>(rows * 1000 + cols));
            const std::vector<std::uint8_t> expected =
                reference::zeroSumImage(toOutput(), grey.data(), rows, cols);
            ASSERT_FALSE(expected.empty());
            out.reset();
            zeroSumImage(toOutput(), grey.data(), rows, cols, out);
            ASSERT_EQ(out.size(), static_cast<std::int64_t>(expected.size()));
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << rows << " x " << cols;
        }
}

}  // namespace
}  // namespace brantel::test
