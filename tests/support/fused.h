// Fused multiply-add with one rounding on every system.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace brantel::test {

namespace fused {

/// high + low is the exact result.
struct Pair {
    double high;
    double low;
};

inline Pair sum(double a, double b) {
    const double high = a + b;
    const double part = high - a;
    return {high, (a - (high - part)) + (b - part)};
}

inline Pair halves(double a) {
    const double scaled = a * 134217729.0;  // 2^27 + 1
    const double high = scaled - (scaled - a);
    return {high, a - high};
}

inline Pair product(double a, double b) {
    const Pair x = halves(a);
    const Pair y = halves(b);
    const double high = a * b;
    return {high, ((x.high * y.high - high) + x.high * y.low + x.low * y.high) + x.low * y.low};
}

/// The sum rounded to odd: an inexact one that ended in an even bit takes its neighbour towards the exact
/// sum, so that the rounding after it is as good as the only one.
inline double oddSum(double a, double b) {
    const Pair exact = sum(a, b);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &exact.high, sizeof bits);
    if (exact.low == 0 || (bits & 1U) != 0) return exact.high;
    return std::nextafter(exact.high, exact.low > 0 ? HUGE_VAL : -HUGE_VAL);
}

/// In plain operations; for results and products far from overflow and underflow.
inline double inSteps(double a, double b, double c) {
    const Pair u = product(a, b);
    const Pair t = sum(c, u.low);
    const Pair v = sum(u.high, t.high);
    return v.high + oddSum(t.low, v.low);
}

}  // namespace fused

/// The run-time library of mingw-w64 rounds twice in its fma().
inline double fma(double a, double b, double c) {
#if defined(__MINGW32__)
    return fused::inSteps(a, b, c);
#else
    return std::fma(a, b, c);
#endif
}

}  // namespace brantel::test
