// The inner loops of sums, compiled once per instruction level (BRANTEL_LEVEL names it). Nothing here may
// call inline functions of other headers than Highway's: the linker could pick this level's copy for all.
#include <cstring>

#include "simd/highway.h"
#include "simd/kernels.h"

#if defined(__BMI2__) && defined(__PCLMUL__)
#include <immintrin.h>
#endif

namespace brantel::simd::BRANTEL_LEVEL {

#if BRANTEL_VECTORS
namespace hn = hwy::HWY_NAMESPACE;
#endif

namespace {

using std::int32_t;
using std::int64_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr int64_t block = 64;

int64_t sumOfBytes(const uint8_t* bytes, int64_t count) {
    constexpr int64_t stretch = int64_t{1} << 20;
    int64_t sum = 0;
    for (int64_t start = 0; start < count; start += stretch) {
        const int64_t end = count - start < stretch ? count : start + stretch;
        uint32_t part = 0;
        for (int64_t i = start; i < end; ++i) part += bytes[i];
        sum += part;
    }
    return sum;
}

int64_t keepGreater(const uint8_t* bytes, int64_t count, uint8_t level, uint8_t* __restrict out) {
    int64_t greater = 0;
    for (int64_t start = 0; start < count; start += block) {
        const int64_t length = count - start < block ? count - start : block;
        uint8_t part = 0;
        for (int64_t i = start; i < start + length; ++i) {
            const bool counts = bytes[i] > level;
            out[i] = counts ? bytes[i] : 0;
            part = static_cast<uint8_t>(part + (counts ? 1 : 0));
        }
        greater += part;
    }
    return greater;
}

/// How 64 bytes v divide by the spacing: quotients q, and what their remainders r make of them. Bit i is byte
/// i.
struct Quotients {
    uint64_t up;       // r is more than half
    uint64_t tie;      // r is half
    uint64_t odd;      // q, rounded up where r is more than half, is odd
    int64_t multiple;  // sum of the v - r
};

#if !BRANTEL_VECTORS

inline Quotients divide(const uint8_t* bytes, int32_t spacingBits) {
    const int32_t half = 1 << (spacingBits - 1);
    const int32_t rest = (1 << spacingBits) - 1;
    Quotients all{};
    for (int64_t i = 0; i < block; ++i) {
        const int32_t remainder = bytes[i] & rest;
        const uint64_t up = remainder > half ? 1U : 0U;
        all.up |= up << i;
        all.tie |= static_cast<uint64_t>(remainder == half ? 1 : 0) << i;
        all.odd |= ((static_cast<uint64_t>(bytes[i] >> spacingBits) & 1U) ^ up) << i;
        all.multiple += bytes[i] - remainder;
    }
    return all;
}

#else

inline Quotients divide(const uint8_t* bytes, int32_t spacingBits) {
    using Bytes = hn::CappedTag<uint8_t, block>;
    const Bytes d;
    constexpr int64_t width = hn::MaxLanes(Bytes());
    const auto half = static_cast<uint8_t>(1 << (spacingBits - 1));
    const auto rest = hn::Set(d, static_cast<uint8_t>((1 << spacingBits) - 1));
    // of the quotient; a spacing of 256 leaves none in a byte
    const auto lowest = hn::Set(d, static_cast<uint8_t>(1 << spacingBits));
    Quotients all{};
    uint8_t masks[3][block / 8] = {};
    auto sums = hn::Zero(hn::Repartition<uint64_t, Bytes>());
    for (int64_t part = 0; part < block; part += width) {
        const auto values = hn::LoadU(d, bytes + part);
        const auto remainder = hn::And(values, rest);
        const auto up = hn::Eq(hn::Max(remainder, hn::Set(d, static_cast<uint8_t>(half + 1))), remainder);
        const auto odd = hn::Ne(hn::And(values, lowest), hn::Zero(d));
        hn::StoreMaskBits(d, up, masks[0] + part / 8);
        hn::StoreMaskBits(d, hn::Eq(remainder, hn::Set(d, half)), masks[1] + part / 8);
        hn::StoreMaskBits(d, odd, masks[2] + part / 8);
        sums = hn::Add(sums, hn::SumsOf8(hn::Sub(values, remainder)));
    }
    std::memcpy(&all.up, masks[0], sizeof all.up);  // x86 is little-endian
    std::memcpy(&all.tie, masks[1], sizeof all.tie);
    std::memcpy(&all.odd, masks[2], sizeof all.odd);
    all.odd ^= all.up;
    all.multiple =
        static_cast<int64_t>(hn::GetLane(hn::SumOfLanes(hn::Repartition<uint64_t, Bytes>(), sums)));
    return all;
}

#endif

#if defined(__BMI2__) && defined(__PCLMUL__)

/// Bit i becomes the parity of bits 0 to i.
inline uint64_t runningParity(uint64_t bits) {
    const __m128i product =
        _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<long long>(bits)), _mm_set1_epi8(-1), 0);
    return static_cast<uint64_t>(_mm_cvtsi128_si64(product));
}

inline int64_t countBits(uint64_t bits) {
    return _mm_popcnt_u64(bits);
}

/// A tie goes up where the running parity is odd, and leaves an even sum: what counts is the parity since the
/// tie before it.
inline int64_t tiesUp(uint64_t running, uint64_t ties) {
    const uint64_t atTies = _pext_u64(running, ties);
    const uint64_t up = atTies ^ (atTies << 1U);
    return countBits(up & _pext_u64(ties, ties));
}

#else

inline uint64_t runningParity(uint64_t bits) {
    for (int32_t shift = 1; shift < 64; shift *= 2) bits ^= bits << shift;
    return bits;
}

inline int64_t countBits(uint64_t bits) {
    int64_t count = 0;
    for (; bits != 0; bits &= bits - 1U) ++count;
    return count;
}

inline int64_t tiesUp(uint64_t running, uint64_t ties) {
    int64_t up = 0;
    int64_t before = 0;
    for (; ties != 0; ties &= ties - 1U) {
        const int64_t parity = (running & ties & (0U - ties)) != 0 ? 1 : 0;  // at the lowest tie
        up += parity ^ before;
        before = parity;
    }
    return up;
}

#endif

int64_t roundedSteps(const uint8_t* bytes, int64_t blocks, int32_t spacingBits, int64_t parity) {
    int64_t multiples = 0;
    int64_t roundedUp = 0;
    for (int64_t b = 0; b < blocks; ++b) {
        const Quotients all = divide(bytes + b * block, spacingBits);
        const uint64_t running = runningParity(all.odd) ^ (0U - static_cast<uint64_t>(parity));
        const int64_t ties = tiesUp(running, all.tie);
        multiples += all.multiple;
        roundedUp += countBits(all.up) + ties;
        parity = (static_cast<int64_t>(running >> 63U) ^ ties) & 1;  // ties that go up change it, too
    }
    return (multiples >> spacingBits) + roundedUp;
}

}  // namespace

const SumKernels& sumTable() {
    static const SumKernels kernels = {sumOfBytes, keepGreater, roundedSteps};
    return kernels;
}

}  // namespace brantel::simd::BRANTEL_LEVEL
