// The direction bins of the descriptors rest on an arctangent, whose last bit differs between run-time
// libraries.
#include <gtest/gtest.h>

#include "registration/gradient_table.h"

namespace brantel {
namespace {

// Tangents in units of 1e-12. The ratio of two components of at most 255 comes no nearer to an angle that
// matters than 7e-5 degrees (204/197 to 46 degrees), far more than an arctangent in single precision is off.
constexpr std::int64_t unit = 1'000'000'000'000;
constexpr std::int64_t tangentOf1 = 17'455'064'928;
constexpr std::int64_t tangentOf46 = 1'035'530'313'791;

bool reaches(std::int64_t tangent, std::int32_t ax, std::int32_t ay) {
    return ay * unit >= ax * tangent;
}

/// The bin by whole numbers alone. Angles are truncated to whole degrees before they are turned into the
/// other quadrants: there 45 degrees and a bit still count as 45, and less than 1 degree as 0.
std::int32_t binByWholeNumbers(std::int32_t gx, std::int32_t gy) {
    if (gx == 0) return gy == 0 ? 0 : (gy > 0 ? 2 : 6);
    const std::int32_t ax = gx < 0 ? -gx : gx;
    const std::int32_t ay = gy < 0 ? -gy : gy;
    const bool below1 = !reaches(tangentOf1, ax, ay);
    const bool from45 = ay >= ax;
    const bool from46 = reaches(tangentOf46, ax, ay);
    if (gx > 0 && gy > 0) return from45 ? 1 : 0;
    if (gx > 0) return below1 ? 0 : (from46 ? 6 : 7);
    if (gy > 0) return below1 ? 4 : (from46 ? 2 : 3);
    return from45 ? 5 : 4;
}

std::int32_t binOf(std::int32_t gx, std::int32_t gy) {
    return gradientTable().at(gx, gy) % binCount;
}

TEST(GradientBin, IsTheExactOneForEveryGradient) {
    int different = 0;
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx)
            if (binOf(gx, gy) != binByWholeNumbers(gx, gy) && ++different <= 5)
                ADD_FAILURE() << gx << ", " << gy << ": " << binOf(gx, gy) << " instead of "
                              << binByWholeNumbers(gx, gy);
    EXPECT_EQ(different, 0);
}

TEST(GradientMagnitude, IsTheExactOneForEveryGradient) {
    int different = 0;
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx) {
            const std::int32_t square = gx * gx + gy * gy;
            std::int32_t root = gradientTable().at(gx, gy) / binCount;
            if (root * root > square || (root + 1) * (root + 1) <= square) ++different;
        }
    EXPECT_EQ(different, 0);
}

}  // namespace
}  // namespace brantel
