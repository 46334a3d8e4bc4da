// Grey conversion gives the plain bytes at every instruction level.
#include <gtest/gtest.h>

#include "cpu/image_ops.h"
#include "plain/image_ops.h"
#include "plain_twin/at_level.h"
#include "support/guarded_buffer.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

TEST(GreyTwin, EveryColourAgrees) {
    constexpr std::int32_t rows = 256;
    constexpr std::int32_t cols = 256;
    std::vector<std::uint8_t> colours(std::size_t{rows} * cols * 3);
    std::vector<std::uint8_t> expected(std::size_t{rows} * cols);
    std::vector<std::uint8_t> grey(expected.size());
    for (std::int32_t red = 0; red < 256; ++red) {
        for (std::int32_t i = 0; i < rows * cols; ++i) {
            colours[3 * i] = static_cast<std::uint8_t>(i);
            colours[3 * i + 1] = static_cast<std::uint8_t>(i / 256);
            colours[3 * i + 2] = static_cast<std::uint8_t>(red);
        }
        plain::rgb2gray(colours.data(), rows, cols, expected.data());
        for (const simd::Level level : simd::supportedLevels()) {
            const AtLevel forced(level);
            rgb2gray(colours.data(), rows, cols, grey.data());
            ASSERT_EQ(grey, expected) << simd::nameOf(level) << ", red " << red;
        }
    }
}

TEST(GreyTwin, StaysInsideItsBuffersAtEveryLengthAndAlignment) {
    for (const simd::Level level : simd::supportedLevels())
        for (const Guard guard : {Guard::behind, Guard::before})
            for (std::int32_t cols = 1; cols < 200; ++cols) {
                const AtLevel forced(level);
                const std::size_t off = static_cast<std::size_t>(cols) % 5;
                const auto source = GuardedBuffer<std::uint8_t>::copyOf(
                    randomBytes(std::int64_t{cols} * 3, cols), guard, off);
                GuardedBuffer<std::uint8_t> grey(static_cast<std::size_t>(cols), guard, off);
                std::vector<std::uint8_t> expected(static_cast<std::size_t>(cols));
                plain::rgb2gray(source->data(), 1, cols, expected.data());
                rgb2gray(source->data(), 1, cols, grey.data());
                ASSERT_EQ(std::vector<std::uint8_t>(grey.begin(), grey.end()), expected)
                    << simd::nameOf(level) << ", " << cols << " pixels";
                ASSERT_TRUE(grey.intact());
            }
}

}  // namespace
}  // namespace brantel::test
