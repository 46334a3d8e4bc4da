#include "support/fused.h"

#include <gtest/gtest.h>

#include "support/picture.h"

namespace brantel::test {
namespace {

/// Between 2^-20 and 2^20, of both signs, every bit of the fraction at random.
double randomNumber(Random& random) {
    const double sign = random.between(0, 1) == 0 ? -1 : 1;
    const double fraction = 1 + static_cast<double>(random.next() >> 12U) * 0x1p-52;
    return sign * std::ldexp(fraction, random.between(-20, 20));
}

TEST(FusedInSteps, RoundsOnce) {
    // the exact result lies a hair above the middle of two doubles: rounding it twice loses the hair
    EXPECT_EQ(fused::inSteps(1 + 0x1p-27, 1 + 0x1p-26, 0x1p-90), 1 + 0x1p-26 + 0x1p-27 + 0x1p-52);
    EXPECT_EQ(fused::inSteps(1 + 0x1p-27, 1 + 0x1p-26, -0x1p-90), 1 + 0x1p-26 + 0x1p-27);
    EXPECT_EQ(fused::inSteps(3, 5, -15), 0);
}

TEST(FusedInSteps, GivesTheSameNumbersOnEverySystem) {
    Random random(1);
    std::uint64_t hash = 0;
    for (int i = 0; i < 200000; ++i) {
        const double a = randomNumber(random);
        const double b = randomNumber(random);
        const double c = randomNumber(random);
        const double result = fused::inSteps(a, b, c);
#if !defined(__MINGW32__)
        ASSERT_EQ(result, std::fma(a, b, c)) << a << " * " << b << " + " << c;
#endif
        const double pair[2] = {static_cast<double>(hash >> 12U), result};
        hash = hashOf(pair, sizeof pair);
    }
    EXPECT_EQ(hash, 11506331101638327801U);
}

}  // namespace
}  // namespace brantel::test
