// The distance transform along a wavefront, compiled once per instruction level.
//
// A pixel depends on its left, upper and upper-left neighbours. Sixteen rows advance side by side, each one
// column behind the row above it, so that all sixteen are independent: lane i of step t is row i, column
// t - i ("skewed" order). The backward pass meets the same pixels in the same steps, in reverse.
#include <hwy/highway.h>

#include "simd/kernels.h"

namespace brantel::simd::BRANTEL_LEVEL {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

using std::int32_t;
using std::int64_t;
using std::uint8_t;

constexpr int64_t lanes = seamLanes;
constexpr float sideStep = 0.2F;
constexpr float diagonalStep = 0.3F;

using Floats = hn::CappedTag<float, seamLanes>;
using Ints = hn::RebindToSigned<Floats>;
using Vector = hn::Vec<Floats>;
constexpr int64_t width = hn::MaxLanes(Floats());
constexpr int64_t parts = lanes / width;

/// Sixteen lanes in as many registers as this level needs.
struct Wave {
    Vector part[parts];
};

inline Wave load(const float* from) {
    Wave wave;
    for (int64_t p = 0; p < parts; ++p) wave.part[p] = hn::LoadU(Floats(), from + p * width);
    return wave;
}

inline void store(const Wave& wave, float* to) {
    for (int64_t p = 0; p < parts; ++p) hn::StoreU(wave.part[p], Floats(), to + p * width);
}

inline Wave far16() {
    Wave wave;
    for (int64_t p = 0; p < parts; ++p) wave.part[p] = hn::Set(Floats(), farDistance);
    return wave;
}

/// 255 or 0 for each byte.
inline Wave expand(const uint8_t* occupied) {
    const hn::Rebind<uint8_t, Floats> bytes;
    Wave wave;
    for (int64_t p = 0; p < parts; ++p)
        wave.part[p] = hn::ConvertTo(Floats(), hn::PromoteTo(Ints(), hn::LoadU(bytes, occupied + p * width)));
    return wave;
}

/// Moves lanes by one, up (towards higher lanes) or down, within a wave.
template <bool up>
class Slide {
  public:
    Slide() {
        const Ints d;
        HWY_ALIGN int32_t indices[width];
        for (int64_t i = 0; i < width; ++i)
            indices[i] = static_cast<int32_t>((i + (up ? width - 1 : 1)) % width);
        rotation_ = hn::SetTableIndices(Floats(), indices);
        edge_ = hn::RebindMask(Floats(),
                               hn::Eq(hn::Iota(d, 0), hn::Set(d, up ? 0 : static_cast<int32_t>(width) - 1)));
    }

    /// The lane that falls off the wave's end is returned in leaving.
    Wave operator()(const Wave& wave, float entering, float* leaving) const {
        Wave rotated;
        for (int64_t p = 0; p < parts; ++p) rotated.part[p] = hn::TableLookupLanes(wave.part[p], rotation_);
        Wave slid;
        Vector carried = hn::Set(Floats(), entering);
        for (int64_t k = 0; k < parts; ++k) {
            const int64_t p = up ? k : parts - 1 - k;
            slid.part[p] = hn::IfThenElse(edge_, carried, rotated.part[p]);
            carried = rotated.part[p];
        }
        *leaving = edgeLane(carried);
        return slid;
    }

  private:
    static float edgeLane(const Vector& rotated) {
        if (up) return hn::GetLane(rotated);
        HWY_ALIGN float values[width];
        hn::Store(rotated, Floats(), values);
        return values[width - 1];
    }

    decltype(hn::SetTableIndices(Floats(), static_cast<const int32_t*>(nullptr))) rotation_;
    hn::Mask<Floats> edge_;
};

/// min(value, side + 0.2, next + 0.2, across + 0.3). Zero stays zero since nothing is negative.
inline Wave relax(const Wave& value, const Wave& side, const Wave& next, const Wave& across) {
    const Vector straight = hn::Set(Floats(), sideStep);
    const Vector diagonal = hn::Set(Floats(), diagonalStep);
    Wave result;
    for (int64_t p = 0; p < parts; ++p) {
        // rounding is monotone, so the smaller neighbour gives the smaller sum
        const Vector beside = hn::Add(hn::Min(side.part[p], next.part[p]), straight);
        const Vector slanting = hn::Min(value.part[p], hn::Add(across.part[p], diagonal));
        result.part[p] = hn::Min(beside, slanting);
    }
    return result;
}

/// Keeps value outside the columns and rows that the transform visits.
inline Wave keepBorder(const Wave& relaxed, const Wave& value, int64_t step, int64_t cols, int64_t rows) {
    const Ints d;
    const auto newest = hn::Set(d, static_cast<int32_t>(step - 1));           // column >= 1
    const auto oldest = hn::Set(d, static_cast<int32_t>(step - (cols - 2)));  // column <= cols - 2
    const auto end = hn::Set(d, static_cast<int32_t>(rows));
    Wave result;
    for (int64_t p = 0; p < parts; ++p) {
        const auto lane = hn::Iota(d, static_cast<int32_t>(p * width));
        const auto outside =
            hn::Or(hn::Gt(lane, newest), hn::Or(hn::Lt(lane, oldest), hn::Not(hn::Lt(lane, end))));
        result.part[p] = hn::IfThenElse(hn::RebindMask(Floats(), outside), value.part[p], relaxed.part[p]);
    }
    return result;
}

inline bool touchesBorder(int64_t step, int64_t cols, int64_t rows) {
    return step < lanes || step > cols - 2 || rows < lanes;
}

void chamferForward(const uint8_t* occupied, int64_t cols, int64_t rows, const float* above, float* distances,
                    float* bottom) {
    const Slide<true> slide;
    Wave left = far16();
    Wave upperLeft = far16();
    for (int64_t t = 0; t < cols + lanes - 1; ++t) {
        const Wave value = expand(occupied + t * lanes);
        // The last lane's value leaves for its column, t - lanes: before column 0 that is the row's padding.
        const Wave upper = slide(left, above[t], &bottom[t - lanes]);
        Wave result = relax(value, left, upper, upperLeft);
        if (touchesBorder(t, cols, rows)) result = keepBorder(result, value, t, cols, rows);
        store(result, distances + t * lanes);
        left = result;
        upperLeft = upper;
    }
    float last;
    slide(left, 0.0F, &last);
    bottom[cols - 1] = last;
}

void chamferBackward(int64_t cols, int64_t rows, const float* below, float* distances, float* top) {
    const Slide<false> slide;
    Wave right = far16();
    Wave lowerRight = far16();
    for (int64_t t = cols + lanes - 2; t >= 0; --t) {
        const Wave value = load(distances + t * lanes);
        // Columns before 0 and behind the last one lie in the rows' padding.
        const Wave lower = slide(right, below[t - (lanes - 1)], &top[t + 1]);
        Wave result = relax(value, right, lower, lowerRight);
        if (touchesBorder(t, cols, rows)) result = keepBorder(result, value, t, cols, rows);
        store(result, distances + t * lanes);
        right = result;
        lowerRight = lower;
    }
    float last;
    slide(right, 0.0F, &last);
    top[0] = last;
}

/// 255 * a / (a + b) of every element, b being what distanceOfFrame(step, part) says.
template <class Distance>
inline void weigh(const float* canvas, int64_t cols, uint8_t* weights, const Distance& distanceOfFrame) {
    const Vector scale = hn::Set(Floats(), farDistance);
    const Vector zero = hn::Zero(Floats());
    const Vector one = hn::Set(Floats(), 1.0F);
    const hn::Rebind<uint8_t, Floats> bytes;
    for (int64_t t = 0; t < cols + lanes - 1; ++t)
        for (int64_t p = 0; p < parts; ++p) {
            const int64_t at = t * lanes + p * width;
            const Vector a = hn::LoadU(Floats(), canvas + at);
            const Vector total = hn::Add(a, distanceOfFrame(t, p));
            const Vector divisor = hn::IfThenElse(hn::Eq(total, zero), one, total);  // 0 / 0 counts as 0
            const Vector quotient = hn::Div(hn::Mul(scale, a), divisor);
            hn::StoreU(hn::DemoteTo(bytes, hn::ConvertTo(Ints(), quotient)), bytes, weights + at);
        }
}

void weightsByDistances(const float* canvas, const float* frame, int64_t cols, uint8_t* weights) {
    weigh(canvas, cols, weights,
          [frame](int64_t t, int64_t p) { return hn::LoadU(Floats(), frame + t * lanes + p * width); });
}

void weightsByLimits(const float* canvas, const float* rowLimits, const float* columnLimits, int64_t cols,
                     uint8_t* weights) {
    // Backwards, so that lane i finds the limit of column t - i at cols - 1 - t + i.
    weigh(canvas, cols, weights, [=](int64_t t, int64_t p) {
        return hn::Min(hn::LoadU(Floats(), rowLimits + p * width),
                       hn::LoadU(Floats(), columnLimits + (cols - 1 - t) + p * width));
    });
}

void weightsOfCanvas(const float* canvas, int64_t cols, uint8_t* weights) {
    weigh(canvas, cols, weights, [](int64_t, int64_t) { return hn::Zero(Floats()); });
}

#if HWY_TARGET == HWY_SCALAR

template <class From, class To>
inline void transpose16(const From& from, const To& to) {
    for (int64_t i = 0; i < lanes; ++i)
        for (int64_t k = 0; k < lanes; ++k) to(k)[i] = from(i)[k];
}

#else

template <class From, class To>
inline void transpose16(const From& from, const To& to) {
    const hn::Full128<uint8_t> d;
    hn::Vec<decltype(d)> rows[2][lanes];
    for (int64_t i = 0; i < lanes; ++i) rows[0][i] = hn::LoadU(d, from(i));
    for (int64_t round = 0; round < 4; ++round)  // four perfect shuffles
        for (int64_t i = 0; i < lanes / 2; ++i) {
            const auto& in = rows[round % 2];
            auto& out = rows[(round + 1) % 2];
            out[2 * i] = hn::InterleaveLower(d, in[i], in[i + lanes / 2]);
            out[2 * i + 1] = hn::InterleaveUpper(d, in[i], in[i + lanes / 2]);
        }
    for (int64_t i = 0; i < lanes; ++i) hn::StoreU(rows[0][i], d, to(i));
}

#endif

void skewRows(const uint8_t* rows, int64_t stride, int64_t cols, uint8_t* skewed) {
    for (int64_t t = 0; t < cols + lanes - 1; t += lanes)
        transpose16([&](int64_t i) { return rows + i * stride + t - i; },
                    [&](int64_t k) { return skewed + (t + k) * lanes; });
}

void unskewRows(const uint8_t* skewed, int64_t cols, uint8_t* rows, int64_t stride) {
    for (int64_t t = 0; t < cols + lanes - 1; t += lanes)
        transpose16([&](int64_t k) { return skewed + (t + k) * lanes; },
                    [&](int64_t i) { return rows + i * stride + t - i; });
}

}  // namespace

const SeamKernels& seamTable() {
    static const SeamKernels kernels = {skewRows,           unskewRows,      chamferForward, chamferBackward,
                                        weightsByDistances, weightsByLimits, weightsOfCanvas};
    return kernels;
}

}  // namespace brantel::simd::BRANTEL_LEVEL
