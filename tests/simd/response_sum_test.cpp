// Sums of many floats at once are the sums of one float after the other, with every rounding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/at_level.h"
#include "support/guarded_buffer.h"
#include "support/picture.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;

float inOrder(float sum, const Floats& values) {
    for (const float value : values) sum += value;
    return sum;
}

std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

class ResponseSum : public AtLevel {
  protected:
    static void expectSame(float start, const Floats& values) {
        const auto guarded = GuardedBuffer<float>::copyOf(values, Guard::behind, values.size() % 3);
        const float sum = simd::cornerKernels().addInOrder(start, guarded->data(),
                                                           static_cast<std::int64_t>(values.size()));
        ASSERT_EQ(bitsOf(sum), bitsOf(inOrder(start, values)))
            << values.size() << " values from " << start << ": " << sum << " instead of "
            << inOrder(start, values);
    }
};

/// Between 2^low and 2^high, every bit of the fraction at random; some are 0.
Floats randomValues(std::int64_t count, std::int32_t low, std::int32_t high, Random& random) {
    Floats values(static_cast<std::size_t>(count));
    for (float& value : values) {
        const float fraction = 1.0F + static_cast<float>(random.between(0, (1 << 23) - 1)) * 0x1p-23F;
        value = random.between(0, 3) == 0 ? 0.0F : std::ldexp(fraction, random.between(low, high));
    }
    return values;
}

TEST_P(ResponseSum, OfEveryLength) {
    Random random(1);
    for (const std::int64_t count : {0, 1, 2, 15, 16, 17, 255, 256, 257, 300, 511, 512, 513, 1024, 5000})
        expectSame(0.0F, randomValues(count, -3, 20, random));
}

TEST_P(ResponseSum, FromEveryMagnitude) {
    Random random(2);
    for (std::int32_t exponent = -126; exponent <= 127; ++exponent)
        for (const std::int32_t below : {0, 3, 12, 22, 24, 30})
            expectSame(std::ldexp(1.3F, exponent), randomValues(700, std::max(exponent - below - 6, -126),
                                                                std::max(exponent - below, -126), random));
}

TEST_P(ResponseSum, OverPowersOfTwo) {
    Random random(3);
    for (std::int32_t i = 0; i < 400; ++i) {
        const float start =
            std::ldexp(2.0F - std::ldexp(1.0F, -random.between(1, 23)), random.between(-20, 40));
        const std::int32_t exponent = std::ilogb(start);
        expectSame(start, randomValues(random.between(256, 900), exponent - 26, exponent - 8, random));
    }
}

TEST_P(ResponseSum, OfTies) {
    Random random(4);
    for (std::int32_t i = 0; i < 300; ++i) {
        const std::int32_t exponent = random.between(-10, 40);
        const float spacing = std::ldexp(1.0F, exponent - 23);
        Floats values(600);
        // Halves of the spacing in all places, in some, or in one.
        const std::int32_t rarity = i % 3 == 0 ? 1 : (i % 3 == 1 ? 50 : 600);
        for (float& value : values)
            value = spacing * (static_cast<float>(random.between(0, 40)) +
                               (random.between(1, rarity) == 1 ? 0.5F : 0.25F));
        expectSame(std::ldexp(1.0F + 0x1p-23F * static_cast<float>(random.between(0, 1000)), exponent),
                   values);
    }
}

TEST_P(ResponseSum, OfValuesLargerThanTheSum) {
    Random random(5);
    for (const float start : {0.0F, 0x1p-149F, 1e-30F, 1.0F, 1e6F})
        for (std::int32_t exponent = 0; exponent < 60; exponent += 3)
            expectSame(start, randomValues(600, 0, exponent, random));
    expectSame(3e38F, Floats(600, 1e37F));  // beyond the largest float
    expectSame(0.0F, Floats(1000, 0.0F));
    expectSame(5.0F, Floats(1000, 0.0F));
    expectSame(1.0F, Floats(1000, 0x1p-149F));
}

TEST_P(ResponseSum, OfResponsesAsPicturesHaveThem) {
    Random random(6);
    for (std::int32_t i = 0; i < 20; ++i) {
        float sum = 0;
        for (std::int32_t row = 0; row < 200; ++row) {
            Floats values = randomValues(600, -5, 30, random);
            for (float& value : values)
                if (random.between(0, 9) < 6) value = 0;
            expectSame(sum, values);
            sum = inOrder(sum, values);
        }
    }
}

BRANTEL_AT_EVERY_LEVEL(ResponseSum);

}  // namespace
}  // namespace brantel::test
