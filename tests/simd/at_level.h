// Runs each test at every instruction level of this processor.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "simd/level.h"

namespace brantel::simd {

inline void PrintTo(Level level, std::ostream* out) {
    *out << nameOf(level);
}

}  // namespace brantel::simd

namespace brantel::test {

class AtLevel : public testing::TestWithParam<simd::Level> {
  protected:
    void SetUp() override { simd::forceLevel(GetParam()); }
    void TearDown() override { simd::forceLevel(before_); }

  private:
    simd::Level before_ = simd::activeLevel();
};

inline std::string levelOf(const testing::TestParamInfo<simd::Level>& info) {
    return simd::nameOf(info.param);
}

}  // namespace brantel::test

#define BRANTEL_AT_EVERY_LEVEL(suite) \
    INSTANTIATE_TEST_SUITE_P(Levels, suite, testing::ValuesIn(brantel::simd::supportedLevels()), levelOf)
