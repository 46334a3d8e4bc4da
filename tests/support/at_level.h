// Tests at an instruction level of their own.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "simd/level.h"

namespace brantel::simd {

inline void PrintTo(Level level, std::ostream* out) {
    *out << nameOf(level);
}

}  // namespace brantel::simd

namespace brantel::test {

/// The levels that this processor can run, lowest first.
inline std::vector<simd::Level> supportedLevels() {
    std::vector<simd::Level> levels;
    for (const simd::Level level : simd::allLevels)
        if (simd::isSupported(level)) levels.push_back(level);
    return levels;
}

/// Forces an instruction level for as long as it lives.
class ForcedLevel {
  public:
    explicit ForcedLevel(simd::Level level) : before_(simd::activeLevel().exchange(level)) {}
    ForcedLevel(const ForcedLevel&) = delete;
    ForcedLevel& operator=(const ForcedLevel&) = delete;
    ~ForcedLevel() { simd::activeLevel() = before_; }

  private:
    simd::Level before_;
};

/// A fixture whose tests run at every instruction level of this processor; see BRANTEL_AT_EVERY_LEVEL.
class AtLevel : public testing::TestWithParam<simd::Level> {
  private:
    ForcedLevel forced_{GetParam()};
};

inline std::string levelOf(const testing::TestParamInfo<simd::Level>& info) {
    return simd::nameOf(info.param);
}

}  // namespace brantel::test

#define BRANTEL_AT_EVERY_LEVEL(suite) \
    INSTANTIATE_TEST_SUITE_P(Levels, suite, testing::ValuesIn(brantel::test::supportedLevels()), levelOf)
