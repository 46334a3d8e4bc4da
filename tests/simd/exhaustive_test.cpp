// Loops whose inputs are few enough to try all of them.
#include "common/grey.h"
#include "reference/weights.h"
#include "support/at_level.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::int32_t square = 256 * 256;

class EveryInput : public AtLevel {};

TEST_P(EveryInput, GreyAndOccupancyOfEveryColour) {
    Bytes colours(3 * square);
    Bytes grey(square);
    Bytes occupied(square);
    for (int blue = 0; blue < 256; ++blue) {
        for (int i = 0; i < square; ++i) {
            colours[3 * i] = static_cast<std::uint8_t>(blue);
            colours[3 * i + 1] = static_cast<std::uint8_t>(i >> 8);
            colours[3 * i + 2] = static_cast<std::uint8_t>(i);
        }
        simd::kernels().greyRow(colours.data(), square, grey.data());
        const bool anyEmpty = simd::kernels().occupancyRow(colours.data(), square, 3, occupied.data());
        bool anyZero = false;
        int wrong = 0;
        for (int i = 0; i < square; ++i) {
            const int expected = greyOf(blue, i >> 8, i & 255);
            wrong += grey[i] != expected || occupied[i] != (expected > 0 ? 255 : 0) ? 1 : 0;
            anyZero |= expected == 0;
        }
        ASSERT_EQ(wrong, 0) << "blue " << blue;
        ASSERT_EQ(anyEmpty, anyZero) << "blue " << blue;
    }
}

TEST_P(EveryInput, FusingEveryWeightFrameAndCanvas) {
    for (const std::int32_t channels : {1, 3}) {
        Bytes frame(channels * square);
        Bytes start(channels * square);
        for (int i = 0; i < square; ++i)
            for (int k = 0; k < channels; ++k) {
                frame[channels * i + k] = static_cast<std::uint8_t>((i >> 8) + 85 * k);
                start[channels * i + k] = static_cast<std::uint8_t>(i + 31 * k);
            }
        for (int w = 0; w < 256; ++w) {
            const Bytes weights(square, static_cast<std::uint8_t>(w));
            Bytes canvas = start;
            Bytes expected = frame;
            simd::kernels().fuseRow(frame.data(), weights.data(), square, channels, canvas.data());
            reference::fuseImages(start.data(), weights.data(), square, channels, expected.data());
            ASSERT_TRUE(canvas == expected) << "weight " << w << ", " << channels << " channels";
        }
    }
}

BRANTEL_AT_EVERY_LEVEL(EveryInput);

}  // namespace
}  // namespace brantel::test
