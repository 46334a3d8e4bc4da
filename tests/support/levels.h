// Runs a test at every instruction level of this processor.
#pragma once

#include <gtest/gtest.h>

#include "simd/level.h"

namespace brantel::test {

template <class Body>
void atEveryLevel(Body&& body) {
    const simd::Level before = simd::activeLevel();
    for (const simd::Level level : simd::supportedLevels()) {
        SCOPED_TRACE(simd::nameOf(level));
        simd::forceLevel(level);
        body();
    }
    simd::forceLevel(before);
}

}  // namespace brantel::test
