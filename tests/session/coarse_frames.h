// Pairs of grey frames for the coarse shift, and what it says of them.
#pragma once

#include <cmath>
#include <cstdint>
#include <ostream>
#include <vector>

#include "coarse/coarse_shift.h"
#include "support/guarded_buffer.h"
#include "support/picture.h"

namespace brantel::session {

inline void PrintTo(CoarseVerdict verdict, std::ostream* out) {
    *out << (verdict == CoarseVerdict::certain    ? "certain"
             : verdict == CoarseVerdict::doubtful ? "doubtful"
                                                  : "none");
}

inline std::ostream& operator<<(std::ostream& out, const CoarseShift& shift) {
    PrintTo(shift.verdict, &out);
    return out << " (" << shift.x << ", " << shift.y << ") low " << shift.low << " rival " << shift.rival
               << " strength " << shift.strength;
}

}  // namespace brantel::session

namespace brantel::test {

using session::CoarseShift;
using session::CoarseVerdict;

using Grey = std::vector<std::uint8_t>;

struct FramePair {
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    Grey previous;
    Grey current;
};

/// Two windows of a picture, the second one (x, y) away from the first one. The picture is just large enough.
inline FramePair framesApart(Texture texture, std::int32_t rows, std::int32_t cols, std::int32_t x,
                             std::int32_t y, std::uint64_t seed = 1) {
    const Picture picture = makePicture(texture, rows + std::abs(y), cols + std::abs(x), 1, seed);
    const auto window = [&](std::int32_t left, std::int32_t top) {
        return picture.window(std::max(0, left), std::max(0, top), rows, cols);
    };
    return {rows, cols, window(-x, -y), window(x, y)};
}

/// Changes a frame pixel by pixel: change(value, x, y) with x and y from -1 at the left and top to 1.
template <class Change>
void changePixels(Grey& frame, std::int32_t rows, std::int32_t cols, Change&& change) {
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c) {
            std::uint8_t& pixel = frame[static_cast<std::size_t>(r) * cols + c];
            const double value = change(static_cast<double>(pixel), 2.0 * c / cols - 1, 2.0 * r / rows - 1);
            pixel = static_cast<std::uint8_t>(std::min(255.0, std::max(0.0, std::floor(value + 0.5))));
        }
}

/// Both frames end at pages that nobody may read.
inline CoarseShift matchOf(const FramePair& frames, const session::ShiftHint* hint = nullptr) {
    const auto previous = GuardedBuffer<std::uint8_t>::copyOf(frames.previous);
    const auto current = GuardedBuffer<std::uint8_t>::copyOf(frames.current);
    session::CoarseMatcher matcher(frames.rows, frames.cols);
    session::CoarseFrame a;
    session::CoarseFrame b;
    matcher.prepare(previous->data(), a);
    matcher.prepare(current->data(), b);
    return matcher.match(a, previous->data(), b, current->data(), hint);
}

/// The larger distance per axis from the truth, in pixels.
inline double errorOf(const CoarseShift& shift, double x, double y) {
    return std::max(std::abs(shift.x - x), std::abs(shift.y - y));
}

}  // namespace brantel::test
