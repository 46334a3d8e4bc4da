#include "simd/level.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace brantel::test {
namespace {

using simd::Level;

TEST(Level, HasTheNameThatTheEnvironmentVariableTakes) {
    EXPECT_STREQ(simd::nameOf(Level::baseline), "baseline");
    EXPECT_STREQ(simd::nameOf(Level::avx2), "avx2");
    EXPECT_STREQ(simd::nameOf(Level::avx512), "avx512");
}

TEST(Level, ListStartsWithTheBaselineAndRises) {
    const std::vector<Level> levels = simd::supportedLevels();
    ASSERT_FALSE(levels.empty());
    EXPECT_EQ(levels.front(), Level::baseline);
    EXPECT_TRUE(std::is_sorted(levels.begin(), levels.end()));
    EXPECT_EQ(std::adjacent_find(levels.begin(), levels.end()), levels.end());
}

TEST(Level, ActiveOneIsSupported) {
    const std::vector<Level> levels = simd::supportedLevels();
    EXPECT_NE(std::find(levels.begin(), levels.end(), simd::activeLevel()), levels.end());
}

TEST(Level, ForcedOneBringsItsOwnTables) {
    const Level before = simd::activeLevel();
    std::vector<const simd::Kernels*> tables;
    std::vector<const simd::SeamKernels*> seamTables;
    for (const Level level : simd::supportedLevels()) {
        simd::forceLevel(level);
        EXPECT_EQ(simd::activeLevel(), level);
        EXPECT_EQ(std::count(tables.begin(), tables.end(), &simd::kernels()), 0);
        EXPECT_EQ(std::count(seamTables.begin(), seamTables.end(), &simd::seamKernels()), 0);
        tables.push_back(&simd::kernels());
        seamTables.push_back(&simd::seamKernels());
    }
    simd::forceLevel(before);
}

TEST(Level, UnsupportedOneCannotBeForced) {
    const std::vector<Level> levels = simd::supportedLevels();
    if (levels.size() == 3) GTEST_SKIP() << "this processor supports every level";
    const Level before = simd::activeLevel();
    for (const Level level : {Level::avx2, Level::avx512}) {
        if (std::find(levels.begin(), levels.end(), level) != levels.end()) continue;
        simd::forceLevel(level);
        EXPECT_EQ(simd::activeLevel(), before);
    }
}

}  // namespace
}  // namespace brantel::test
