#include "compose/motion.h"

#include <cstring>

#include "common/parallel_for.h"
#include "common/tuning.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int64_t reach = 2;
constexpr std::int64_t grain = 32;  // rows handed out at a time

/// The row that a row beyond the edge mirrors, without repeating the edge.
std::int64_t mirrored(std::int64_t r, std::int64_t rows) {
    if (r < 0) return -r;
    return r < rows ? r : 2 * rows - 2 - r;
}

void smoothRow(const std::uint8_t* grey, std::int64_t rows, std::int64_t cols, std::int64_t r,
               std::uint8_t* padded, std::uint8_t* out) {
    if (rows <= reach || cols <= reach) {  // too small to be mirrored
        std::memcpy(out, grey + r * cols, static_cast<std::size_t>(cols));
        return;
    }
    const auto smooth5 = simd::kernels().smooth5;
    const std::uint8_t* taps[5];
    for (std::int64_t t = 0; t < 5; ++t) taps[t] = grey + mirrored(r - reach + t, rows) * cols;
    smooth5(taps, smoothingKernel, cols, padded + reach);
    padded[0] = padded[4];
    padded[1] = padded[3];
    padded[cols + 2] = padded[cols];
    padded[cols + 3] = padded[cols - 1];
    for (std::int64_t t = 0; t < 5; ++t) taps[t] = padded + t;
    smooth5(taps, smoothingKernel, cols, out);
}

std::int64_t paddedRow(std::int64_t cols) {
    return cols + 2 * reach;
}

}  // namespace

std::int64_t MotionReference::measure(const std::uint8_t* firstGrey, const std::uint8_t* grey,
                                      std::int32_t rows, std::int32_t cols, WorkerPair* workers) {
    const std::int64_t pixels = std::int64_t{rows} * cols;
    if (firstGrey == nullptr) reference_.ensure(pixels);
    candidate_.ensure(pixels);
    rowScratch_.ensure(loopThreads * (paddedRow(cols) + cols));
    const std::uint8_t* unsmoothed =
        firstGrey != nullptr ? firstGrey : (smoothed_ ? nullptr : reference_.data());
    std::int64_t sums[loopThreads] = {};
    parallelFor(workers, rows, grain, [&](std::int64_t first, std::int64_t last, std::int32_t thread) {
        std::uint8_t* padded = rowScratch_.data() + thread * (paddedRow(cols) + cols);
        std::uint8_t* smoothedRow = padded + paddedRow(cols);
        for (std::int64_t r = first; r < last; ++r) {
            std::uint8_t* candidate = candidate_.data() + r * cols;
            smoothRow(grey, rows, cols, r, padded, candidate);
            if (unsmoothed != nullptr) smoothRow(unsmoothed, rows, cols, r, padded, smoothedRow);
            const std::uint8_t* reference =
                unsmoothed != nullptr ? smoothedRow : reference_.data() + r * cols;
            sums[thread] += simd::kernels().absoluteDifferences(reference, candidate, cols);
        }
    });
    return (sums[0] + sums[1] + sums[2]) / pixels;
}

void MotionReference::accept() {
    reference_.swap(candidate_);
    smoothed_ = true;
}

void MotionReference::setGrey(const std::uint8_t* grey, std::int64_t pixels) {
    reference_.ensure(pixels);
    std::memcpy(reference_.data(), grey, static_cast<std::size_t>(pixels));
    smoothed_ = false;
}

}  // namespace brantel
