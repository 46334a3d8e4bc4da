// The inner loops of corner detection, compiled once per instruction level (BRANTEL_LEVEL names it), most of
// them as plain C++ for the compiler to vectorise. Nothing here may call inline functions of other headers
// than Highway's: the linker could pick this level's copy for all.
#include "simd/highway.h"
#include "simd/kernels.h"

namespace brantel::simd::BRANTEL_LEVEL {

#if BRANTEL_VECTORS
namespace hn = hwy::HWY_NAMESPACE;
#endif

namespace {

using std::int16_t;
using std::int32_t;
using std::int64_t;
using std::uint32_t;
using std::uint8_t;

constexpr int64_t block = 16;  // columns that are taken through all steps at once
constexpr int64_t reach = 2;   // of the horizontal filter

/// Columns of a block: as many as it has room for, which the compiler knows, or those that are left.
template <bool whole>
inline int64_t columnsOf(int64_t count) {
    return whole ? block : count;
}

void gradientRow(const uint8_t* above, const uint8_t* at, const uint8_t* below, int64_t first, int64_t last,
                 float* __restrict xx, float* __restrict yy, float* __restrict xy) {
    for (int64_t c = first; c < last; ++c) {
        const auto gy = static_cast<int16_t>(2 * (below[c] - above[c]) + below[c - 1] + below[c + 1] -
                                             above[c - 1] - above[c + 1]);
        const auto gx = static_cast<int16_t>(2 * (at[c + 1] - at[c - 1]) + above[c + 1] + below[c + 1] -
                                             above[c - 1] - below[c - 1]);
        const auto ax = static_cast<float>((gx < 0 ? -gx : gx) >> 2);
        const auto ay = static_cast<float>((gy < 0 ? -gy : gy) >> 2);
        xx[c] = ax * ax;  // whole numbers below 2^16: exact in float
        yy[c] = ay * ay;
        xy[c] = ax * ay;
    }
}

struct Taps {
    float k0, k1, k2, k3, k4;
};

template <bool whole>
inline void filterColumn(const float* const rows[5], const Taps& k, int64_t at, int64_t count,
                         float* __restrict out) {
    const float *a = rows[0] + at, *b = rows[1] + at, *c = rows[2] + at, *d = rows[3] + at, *e = rows[4] + at;
    for (int64_t x = 0; x < columnsOf<whole>(count); ++x)
        out[x] = k.k0 * a[x] + k.k1 * b[x] + k.k2 * c[x] + k.k3 * d[x] + k.k4 * e[x];
}

/// The vertical filter of all three products.
template <bool whole>
inline void filterColumns(const HarrisRow& row, const Taps& taps, int64_t at, int64_t count) {
    for (int64_t product = 0; product < 3; ++product)
        filterColumn<whole>(row.products, taps, product * row.plane + at, count,
                            row.filtered + product * row.plane + at);
}

inline float responseOf(float a, float b, float c, float k) {
    const float trace = a + b;
    const float value = a * b - c * c - trace * k * trace;
    return value > 0.0F ? value : 0.0F;
}

template <bool whole>
inline void responses(const HarrisRow& row, const Taps& k, int64_t at, int64_t count,
                      float* __restrict response) {
    const float* p = row.filtered + at;
    const float* q = p + row.plane;
    const float* s = q + row.plane;
    for (int64_t x = 0; x < columnsOf<whole>(count); ++x) {
        const float a = k.k0 * p[x - 2] + k.k1 * p[x - 1] + k.k2 * p[x] + k.k3 * p[x + 1] + k.k4 * p[x + 2];
        const float b = k.k0 * q[x - 2] + k.k1 * q[x - 1] + k.k2 * q[x] + k.k3 * q[x + 1] + k.k4 * q[x + 2];
        const float c = k.k0 * s[x - 2] + k.k1 * s[x - 1] + k.k2 * s[x] + k.k3 * s[x + 1] + k.k4 * s[x + 2];
        response[x] = responseOf(a, b, c, row.k);
    }
}

/// One accumulator: the order of the additions is part of the result.
template <bool whole>
inline float added(float sum, const float* values, int64_t count) {
    for (int64_t x = 0; x < columnsOf<whole>(count); ++x) sum += values[x];
    return sum;
}

float harrisRow(const HarrisRow& given, int64_t first, int64_t last, float sum) {
    const HarrisRow row = given;  // a copy that no store can change
    const Taps taps{row.kernel[0], row.kernel[1], row.kernel[2], row.kernel[3], row.kernel[4]};
    const int64_t end = last + reach;
    int64_t ready = first + block + reach < end ? first + block + reach : end;
    filterColumns<false>(row, taps, first - reach, ready - (first - reach));
    int64_t x = first;
    for (; x + block <= last && ready + block <= end; x += block, ready += block) {
        filterColumns<true>(row, taps, ready, block);
        responses<true>(row, taps, x, block, row.response + x);
        // These wait for each other. Side by side with arithmetic that does not wait for them they cost
        // little.
        sum = added<true>(sum, row.responseAbove + x, block);
    }
    filterColumns<false>(row, taps, ready, end - ready);
    responses<false>(row, taps, x, last - x, row.response + x);
    return added<false>(sum, row.responseAbove + x, last - x);
}

void responseRow(const float* xx, const float* yy, const float* xy, int64_t count, float k,
                 float* __restrict response) {
    for (int64_t x = 0; x < count; ++x) response[x] = responseOf(xx[x], yy[x], xy[x], k);
}

inline float addOneByOne(float sum, const float* values, int64_t count) {
    for (int64_t i = 0; i < count; ++i) sum += values[i];
    return sum;
}

#if !BRANTEL_VECTORS

float addInOrder(float sum, const float* values, int64_t count) {
    return addOneByOne(sum, values, count);
}

#else

// While a sum s stays between two powers of two, floats are g apart there, and s is m g with m from 2^23 to 2^24. Adding
// x rounds x / g to a whole number, whatever m is, but for a tie, which goes to the even sum. So the whole numbers of
// many values may be added in any order, as long as none is a tie and the sum does not reach the next power of two.

constexpr int64_t stretch = 256;  // values that are tried at once
constexpr int32_t significant = 23;
constexpr float mostSteps = 4194304.0F;  // 2^22 for one value: so many fit into 32 bits, and ties can be told

struct Steps {
    int32_t sum;
    bool known;  // no tie and no value that is too large
};

/// By how many spacings a sum grows.
inline Steps stepsOf(const float* values, float perSpacing) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> ints;
    const auto width = static_cast<int64_t>(hn::Lanes(d));
    const auto scale = hn::Set(d, perSpacing);
    const auto half = hn::Set(d, 0.5F);
    const auto most = hn::Set(d, mostSteps);
    auto sum = hn::Zero(ints);
    auto doubtful = hn::MaskFromVec(hn::Zero(d));
    for (int64_t i = 0; i < stretch; i += width) {
        const auto quotient = hn::Mul(hn::LoadU(d, values + i), scale);  // a power of two: exact
        const auto whole = hn::NearestInt(quotient);
        const auto off = hn::Abs(hn::Sub(quotient, hn::ConvertTo(d, whole)));
        doubtful = hn::Or(doubtful, hn::Or(hn::Eq(off, half), hn::Not(hn::Lt(quotient, most))));
        sum = hn::Add(sum, whole);
    }
    if (!hn::AllFalse(d, doubtful)) return {0, false};  // too large ones do not fit into the sum
    return {hn::GetLane(hn::SumOfLanes(ints, sum)), true};
}

inline uint32_t bitsOf(float value) {
    uint32_t bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline float floatOf(uint32_t bits) {
    float value;
    __builtin_memcpy(&value, &bits, sizeof value);
    return value;
}

/// The values are added to the sum's bits: within a power of two they count spacings.
float addInOrder(float sum, const float* values, int64_t count) {
    constexpr uint32_t bias = 127;
    for (; count >= stretch; count -= stretch, values += stretch) {
        const uint32_t bits = bitsOf(sum);
        const uint32_t exponent = bits >> significant;  // sums are not negative
        // 2^(23 - e) is a float for the exponents of all but the smallest and largest sums
        const bool usual = exponent > significant && exponent < 2 * bias;
        const Steps steps = usual
                                ? stepsOf(values, floatOf((2 * bias + significant - exponent) << significant))
                                : Steps{0, false};
        const uint32_t next = bits + static_cast<uint32_t>(steps.sum);
        sum = steps.known && next >> significant == exponent ? floatOf(next)
                                                             : addOneByOne(sum, values, stretch);
    }
    return addOneByOne(sum, values, count);
}

#endif

#if !BRANTEL_VECTORS

inline float larger(float a, float b) {
    return a > b ? a : b;
}

int64_t maximaInRow(const float* above, const float* at, const float* below, float threshold, int64_t first,
                    int64_t last, int32_t* columns) {
    constexpr int64_t stretch = 64;
    int64_t found = 0;
    for (int64_t start = first; start < last; start += stretch) {
        const int64_t count = last - start < stretch ? last - start : stretch;
        uint8_t isMaximum[stretch];
        int32_t any = 0;
        for (int64_t i = 0; i < count; ++i) {
            const int64_t x = start + i;
            const float rowAbove = larger(larger(above[x - 1], above[x]), above[x + 1]);
            const float rowBelow = larger(larger(below[x - 1], below[x]), below[x + 1]);
            const float around = larger(larger(at[x - 1], at[x + 1]), larger(rowAbove, rowBelow));
            const int32_t here = (at[x] > threshold) & (at[x] >= around);
            isMaximum[i] = static_cast<uint8_t>(here);
            any |= here;
        }
        if (any == 0) continue;
        for (int64_t i = 0; i < count; ++i) {
            columns[found] = static_cast<int32_t>(start + i);
            found += isMaximum[i];
        }
    }
    return found;
}

#else

int64_t maximaInRow(const float* above, const float* at, const float* below, float threshold, int64_t first,
                    int64_t last, int32_t* columns) {
    using Floats = hn::CappedTag<float, maximaSlack>;
    const Floats d;
    const hn::RebindToSigned<Floats> ints;
    constexpr int64_t width = hn::MaxLanes(Floats());
    const auto least = hn::Set(d, threshold);
    const auto load = [d](const float* row, int64_t x) { return hn::LoadU(d, row + x); };
    const auto rowMaximum = [&](const float* row, int64_t x) {
        return hn::Max(hn::Max(load(row, x - 1), load(row, x)), load(row, x + 1));
    };
    int64_t found = 0;
    const auto takeFrom = [&](int64_t x, const auto& wanted) {
        const auto here = load(at, x);
        const auto around = hn::Max(hn::Max(load(at, x - 1), load(at, x + 1)),
                                    hn::Max(rowMaximum(above, x), rowMaximum(below, x)));
        const auto maxima = hn::And(wanted, hn::And(hn::Gt(here, least), hn::Ge(here, around)));
        const auto places = hn::Iota(ints, static_cast<int32_t>(x));
        const auto chosen = hn::RebindMask(ints, maxima);
        hn::StoreU(hn::Compress(places, chosen), ints, columns + found);
        found += static_cast<int64_t>(hn::CountTrue(d, maxima));
    };
    int64_t x = first;
    for (; x + width <= last; x += width) takeFrom(x, hn::Eq(least, least));
    if (x == last) return found;
    if (last - first >= width) {  // the last columns again, without those that were looked at
        const auto seen = hn::Set(ints, static_cast<int32_t>(x));
        x = last - width;
        takeFrom(x, hn::RebindMask(d, hn::Not(hn::Lt(hn::Iota(ints, static_cast<int32_t>(x)), seen))));
        return found;
    }
    for (; x < last; ++x) {
        bool here = at[x] > threshold;
        for (int64_t c = x - 1; c <= x + 1; ++c)
            here = here && at[x] >= above[c] && at[x] >= at[c] && at[x] >= below[c];
        columns[found] = static_cast<int32_t>(x);
        found += here ? 1 : 0;
    }
    return found;
}

#endif

}  // namespace

const CornerKernels& cornerTable() {
    static const CornerKernels kernels = {gradientRow, harrisRow, responseRow, addInOrder, maximaInRow};
    return kernels;
}

}  // namespace brantel::simd::BRANTEL_LEVEL
