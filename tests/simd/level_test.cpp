#include "simd/level.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/at_level.h"

namespace brantel::test {
namespace {

using simd::Level;

TEST(Level, HasTheNameThatTheEnvironmentVariableTakes) {
    EXPECT_STREQ(simd::nameOf(Level::baseline), "baseline");
    EXPECT_STREQ(simd::nameOf(Level::avx2), "avx2");
    EXPECT_STREQ(simd::nameOf(Level::avx512), "avx512");
}

TEST(Level, ListStartsWithTheBaselineAndRises) {
    const std::vector<Level> levels = supportedLevels();
    ASSERT_FALSE(levels.empty());
    EXPECT_EQ(levels.front(), Level::baseline);
    EXPECT_TRUE(std::is_sorted(levels.begin(), levels.end()));
    EXPECT_EQ(std::adjacent_find(levels.begin(), levels.end()), levels.end());
}

TEST(Level, ActiveOneIsSupported) {
    EXPECT_TRUE(simd::isSupported(simd::activeLevel()));
}

TEST(Level, ForcedOneBringsItsOwnTablesUntilItGoes) {
    const Level before = simd::activeLevel();
    std::vector<const simd::Kernels*> tables;
    std::vector<const simd::SeamKernels*> seamTables;
    for (const Level level : supportedLevels()) {
        const ForcedLevel forced(level);
        EXPECT_EQ(simd::activeLevel(), level);
        EXPECT_EQ(std::count(tables.begin(), tables.end(), &simd::kernels()), 0);
        EXPECT_EQ(std::count(seamTables.begin(), seamTables.end(), &simd::seamKernels()), 0);
        tables.push_back(&simd::kernels());
        seamTables.push_back(&simd::seamKernels());
    }
    EXPECT_EQ(simd::activeLevel(), before);
}

}  // namespace
}  // namespace brantel::test
