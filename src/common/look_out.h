// Looking out for an event for a moment, in front of a wait that sleeps.
#pragma once

#include <immintrin.h>

#include <chrono>
#include <cstdint>
#include <thread>

namespace brantel {

/// Processors beside the one the caller runs on; waking more threads than that would only cost time.
inline std::int32_t spareProcessors() {
    static const auto count = static_cast<std::int32_t>(std::thread::hardware_concurrency());
    return count - 1;
}

/// Returns when happened() is true, or has not become true for about twice the time that waking a thread takes. Does not
/// look out where that would keep the other thread from its work.
template <class Happened>
void lookOutFor(Happened&& happened) {
    constexpr std::chrono::microseconds longest{100};
    constexpr int looksPerGlance = 16;  // at the clock
    if (spareProcessors() < 1) return;
    const auto end = std::chrono::steady_clock::now() + longest;
    do {
        for (int look = 0; look < looksPerGlance; ++look) {
            if (happened()) return;
            _mm_pause();
        }
    } while (std::chrono::steady_clock::now() < end);
}

}  // namespace brantel
