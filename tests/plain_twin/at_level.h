// Forces an instruction level for as long as it lives.
#pragma once

#include "simd/level.h"

namespace brantel::test {

class AtLevel {
  public:
    explicit AtLevel(simd::Level level) : before_(simd::activeLevel()) { simd::forceLevel(level); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;
    ~AtLevel() { simd::forceLevel(before_); }

  private:
    simd::Level before_;
};

}  // namespace brantel::test
