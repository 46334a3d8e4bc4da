// The inner loops, compiled once per instruction level (BRANTEL_LEVEL names it), most of them as plain C++
// for the compiler to vectorise. Nothing here may call inline functions of other headers than Highway's: the
// linker could pick this level's copy for all.
#include <cstring>

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
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

inline uint32_t greyOf(uint32_t blue, uint32_t green, uint32_t red) {
    // x / 1000 == ((x >> 3) * 33555) >> 22 for every sum that can occur
    return (((blue * 114U + green * 587U + red * 299U + 500U) >> 3U) * 33555U) >> 22U;
}

#if BRANTEL_VECTORS

/// The same in 16 bits: 114 b + 587 g + 299 r is 8 (14 b + 73 g + 37 r) + 2 b + 3 g + 3 r.
template <class Vector>
inline Vector greyOf16(const Vector& blue, const Vector& green, const Vector& red) {
    const hn::DFromV<Vector> d;
    const auto times = [d](const Vector& v, uint16_t factor) { return hn::Mul(v, hn::Set(d, factor)); };
    const Vector eighths = hn::Add(hn::Add(times(blue, 14), times(green, 73)), times(red, 37));
    const Vector warm = hn::Add(green, red);
    const Vector all = hn::Add(blue, warm);
    const Vector rest = hn::Add(hn::Add(hn::Add(all, all), warm), hn::Set(d, 500));
    const Vector sum = hn::Add(eighths, hn::ShiftRight<3>(rest));
    return hn::ShiftRight<6>(hn::MulHigh(sum, hn::Set(d, 33555)));
}

/// All whole vectors of a row. Returns how many pixels they hold.
inline int64_t greyVectors(const uint8_t* bgr, int64_t pixels, uint8_t* grey) {
    const hn::ScalableTag<uint8_t> d;
    const hn::RepartitionToWide<decltype(d)> wide;
    const auto width = static_cast<int64_t>(hn::Lanes(d));
    const auto low = hn::Set(wide, 255);
    const auto even = [&](const auto& bytes) { return hn::And(hn::BitCast(wide, bytes), low); };
    const auto odd = [&](const auto& bytes) { return hn::ShiftRight<8>(hn::BitCast(wide, bytes)); };
    int64_t done = 0;
    for (; done + width <= pixels; done += width) {
        hn::Vec<decltype(d)> blue;
        hn::Vec<decltype(d)> green;
        hn::Vec<decltype(d)> red;
        hn::LoadInterleaved3(d, bgr + 3 * done, blue, green, red);
        const auto first = greyOf16(even(blue), even(green), even(red));
        const auto second = greyOf16(odd(blue), odd(green), odd(red));
        hn::StoreU(hn::BitCast(d, hn::Or(first, hn::ShiftLeft<8>(second))), d, grey + done);
    }
    return done;
}

#else

inline int64_t greyVectors(const uint8_t*, int64_t, uint8_t*) {
    return 0;
}

#endif

void greyRow(const uint8_t* bgr, int64_t pixels, uint8_t* __restrict grey) {
    for (int64_t i = greyVectors(bgr, pixels, grey); i < pixels; ++i)
        grey[i] = static_cast<uint8_t>(greyOf(bgr[3 * i], bgr[3 * i + 1], bgr[3 * i + 2]));
}

void halveRow(const uint8_t* row, int64_t outPixels, uint8_t* __restrict out) {
    for (int64_t i = 0; i < outPixels; ++i) out[i] = row[2 * i];
}

inline uint32_t sumOfSquares(const uint16_t* a, const uint16_t* b, int32_t length) {
    uint32_t sum = 0;
    for (int32_t k = 0; k < length; ++k) {
        const auto difference = static_cast<int16_t>(a[k] - b[k]);
        sum += static_cast<uint32_t>(difference * difference);
    }
    return sum;
}

int64_t squaredDistance(const uint16_t* a, const uint16_t* b, int32_t length, int64_t limit) {
    constexpr int32_t chunk = 96;  // 96 * 6400 * 6400 still fits 32 bits
    int64_t sum = 0;
    for (; length >= chunk; length -= chunk, a += chunk, b += chunk) {
        sum += sumOfSquares(a, b, chunk);
        if (sum > limit) return sum;
    }
    return sum + sumOfSquares(a, b, length);
}

int64_t countInliers(const float* previousX, const float* previousY, const float* currentX,
                     const float* currentY, int64_t pairs, float dx, float dy) {
    int32_t inliers = 0;
    for (int64_t m = 0; m < pairs; ++m) {
        const float ex = (currentX[m] + dx) - previousX[m];
        const float ey = (currentY[m] + dy) - previousY[m];
        inliers += 4.0F > __builtin_sqrtf(ex * ex + ey * ey) ? 1 : 0;
    }
    return inliers;
}

void smooth5(const uint8_t* const taps[5], const float* kernel, int64_t count, uint8_t* __restrict out) {
    const float k0 = kernel[0], k1 = kernel[1], k2 = kernel[2], k3 = kernel[3], k4 = kernel[4];
    const uint8_t *a = taps[0], *b = taps[1], *middle = taps[2], *d = taps[3], *e = taps[4];
    for (int64_t i = 0; i < count; ++i) {
        const float sum = k0 * static_cast<float>(a[i]) + k1 * static_cast<float>(b[i]) +
                          k2 * static_cast<float>(middle[i]) + k3 * static_cast<float>(d[i]) +
                          k4 * static_cast<float>(e[i]);
        out[i] = static_cast<uint8_t>(static_cast<int32_t>(sum));
    }
}

int64_t absoluteDifferences(const uint8_t* a, const uint8_t* b, int64_t count) {
    constexpr int64_t block = int64_t{1} << 20;
    int64_t sum = 0;
    for (int64_t start = 0; start < count; start += block) {
        const int64_t end = count - start < block ? count : start + block;
        uint32_t part = 0;
        for (int64_t i = start; i < end; ++i)
            part += static_cast<uint32_t>(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
        sum += part;
    }
    return sum;
}

struct Extremes {
    uint8_t least;
    uint8_t greatest;
};

inline Extremes extremesOf(const uint8_t* bytes, int64_t count) {
    uint8_t least = 255;
    uint8_t greatest = 0;
    for (int64_t i = 0; i < count; ++i) {
        least = bytes[i] < least ? bytes[i] : least;
        greatest = bytes[i] > greatest ? bytes[i] : greatest;
    }
    return {least, greatest};
}

/// The grey value is 0 exactly when the weighted sum stays below one half.
uint8_t occupiedPixels(const uint8_t* bgr, int64_t pixels, uint8_t* __restrict occupied) {
    uint8_t all = 255;
    for (int64_t i = 0; i < pixels; ++i) {
        const uint32_t sum = bgr[3 * i] * 114U + bgr[3 * i + 1] * 587U + bgr[3 * i + 2] * 299U;
        occupied[i] = sum >= 500U ? 255 : 0;
        all &= occupied[i];
    }
    return all;
}

bool occupancyRow(const uint8_t* row, int64_t pixels, int32_t channels, uint8_t* __restrict occupied) {
    uint8_t all = 255;
    if (channels == 1) {
        for (int64_t i = 0; i < pixels; ++i) {
            occupied[i] = row[i] != 0 ? 255 : 0;
            all &= occupied[i];
        }
        return all == 0;
    }
    constexpr int64_t block = 64;
    int64_t start = 0;
    for (; start + block <= pixels; start += block) {
        // Most stretches have no sample that is 0, or nothing else.
        const Extremes samples = extremesOf(row + 3 * start, 3 * block);
        if (samples.least > 0 || samples.greatest == 0) {
            const uint8_t value = samples.least > 0 ? 255 : 0;
            for (int64_t i = 0; i < block; ++i) occupied[start + i] = value;
            all &= value;
        } else {
            all &= occupiedPixels(row + 3 * start, block, occupied + start);
        }
    }
    all &= occupiedPixels(row + 3 * start, pixels - start, occupied + start);
    return all == 0;
}

void fusePixels(const uint8_t* frame, const uint8_t* weights, int64_t pixels, uint8_t* __restrict canvas) {
    uint8_t spread[3 * 64];
    for (int64_t i = 0; i < pixels; ++i) spread[3 * i] = spread[3 * i + 1] = spread[3 * i + 2] = weights[i];
    for (int64_t i = 0; i < 3 * pixels; ++i) {
        // x / 255 == (x * 32897) >> 23 for 16-bit x
        // spread is filled up to 3 * pixels above, which the analyzer cannot follow.
        // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
        const auto sum = static_cast<uint16_t>(canvas[i] * spread[i] + (255 - spread[i]) * frame[i]);
        canvas[i] = static_cast<uint8_t>((uint32_t{sum} * 32897U) >> 23U);
    }
}

void fuseRow(const uint8_t* frame, const uint8_t* weights, int64_t pixels, int32_t channels,
             uint8_t* __restrict canvas) {
    if (channels == 1) {
        for (int64_t i = 0; i < pixels; ++i) {
            const auto sum = static_cast<uint16_t>(canvas[i] * weights[i] + (255 - weights[i]) * frame[i]);
            canvas[i] = static_cast<uint8_t>(sum >> 8);
        }
        return;
    }
    constexpr int64_t block = 64;
    int64_t start = 0;
    for (; start + block <= pixels; start += block) {
        const Extremes range = extremesOf(weights + start, block);
        if (range.greatest == 0) {  // nothing but the frame
            for (int64_t i = 3 * start; i < 3 * (start + block); ++i) canvas[i] = frame[i];
        } else if (range.least < 255) {
            fusePixels(frame + 3 * start, weights + start, block, canvas + 3 * start);
        }
    }
    fusePixels(frame + 3 * start, weights + start, pixels - start, canvas + 3 * start);
}

}  // namespace

const Kernels& table() {
    static const Kernels kernels = {greyRow,      halveRow, squaredDistance,
                                    countInliers, smooth5,  absoluteDifferences,
                                    occupancyRow, fuseRow};
    return kernels;
}

}  // namespace brantel::simd::BRANTEL_LEVEL
