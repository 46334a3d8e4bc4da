// The inner loops that exist once per instruction level. They check nothing: the stages that call them do.
#pragma once

#include <cstdint>

namespace brantel::simd {

/// One row of the Harris response and what it is made of. All rows are addressed by the same columns.
struct HarrisRow {
    const float* products[5];  // of five neighbouring rows, top to bottom: xx; yy and xy follow
    std::int64_t plane;        // elements from xx to yy and from yy to xy
    float* filtered;           // scratch of three such rows
    const float* kernel;       // of the 5-tap filters
    float k;
    float* response;
    const float* responseAbove;
};

constexpr std::int64_t maximaSlack = 16;

struct CornerKernels {
    /// Gradient products of one row at columns first to last - 1, from the rows above, at and below it.
    void (*gradientRow)(const std::uint8_t* above, const std::uint8_t* at, const std::uint8_t* below,
                        std::int64_t first, std::int64_t last, float* xx, float* yy, float* xy);
    /// Both 5-tap filters of the three products and the response at columns first to last - 1; reads 2
    /// columns to each side. Responses that are not positive become 0. Returns sum with the responses of the
    /// row above added from left to right.
    float (*harrisRow)(const HarrisRow& row, std::int64_t first, std::int64_t last, float sum);
    /// Responses at count columns, of products that are smoothed already. Those that are not positive become 0.
    void (*responseRow)(const float* xx, const float* yy, const float* xy, std::int64_t count, float k,
                        float* response);
    /// sum with values, none of them negative or no number, added one by one from left to right, each time rounding to
    /// single precision.
    float (*addInOrder)(float sum, const float* values, std::int64_t count);
    /// Columns first to last - 1 of the middle row that exceed the threshold and equal the maximum of their 3
    /// x 3 neighbourhood. Returns how many were written to columns, which has room for last - first +
    /// maximaSlack: what lies behind them is overwritten.
    std::int64_t (*maximaInRow)(const float* above, const float* at, const float* below, float threshold,
                                std::int64_t first, std::int64_t last, std::int32_t* columns);
};

struct Kernels {
    /// Grey values of pixels blue, green, red.
    void (*greyRow)(const std::uint8_t* bgr, std::int64_t pixels, std::uint8_t* grey);
    /// Every second byte.
    void (*halveRow)(const std::uint8_t* row, std::int64_t outPixels, std::uint8_t* out);

    /// Sum of squared differences of descriptors whose values are at most 6400. Gives up, with some value
    /// above limit, once the sum exceeds it.
    std::int64_t (*squaredDistance)(const std::uint16_t* a, const std::uint16_t* b, std::int32_t length,
                                    std::int64_t limit);
    /// How many pairs lie within the tolerance of the hypothesis (dx, dy).
    std::int64_t (*countInliers)(const float* previousX, const float* previousY, const float* currentX,
                                 const float* currentY, std::int64_t pairs, float dx, float dy);

    /// 5-tap smoothing of bytes, truncating: one tap from each of five rows.
    void (*smooth5)(const std::uint8_t* const taps[5], const float* kernel, std::int64_t count,
                    std::uint8_t* out);
    std::int64_t (*absoluteDifferences)(const std::uint8_t* a, const std::uint8_t* b, std::int64_t count);

    /// 255 where a pixel's grey value is above 0, else 0. Returns whether any was 0.
    bool (*occupancyRow)(const std::uint8_t* row, std::int64_t pixels, std::int32_t channels,
                         std::uint8_t* occupied);
    /// Blends one row of the frame into the canvas row, in place on the canvas.
    void (*fuseRow)(const std::uint8_t* frame, const std::uint8_t* weights, std::int64_t pixels,
                    std::int32_t channels, std::uint8_t* canvas);
};

struct SumKernels {
    std::int64_t (*sumOfBytes)(const std::uint8_t* bytes, std::int64_t count);
    /// Copies bytes, those up to the level as 0. Returns how many are above it.
    std::int64_t (*keepGreater)(const std::uint8_t* bytes, std::int64_t count, std::uint8_t level,
                                std::uint8_t* out);
    /// By how many steps of 2^spacingBits (1 to 8) a float sum grows when so many times 64 bytes are added
    /// one by one, each time rounding to a multiple of the spacing, ties to the even one. parity is that of
    /// the sum / spacing.
    std::int64_t (*roundedSteps)(const std::uint8_t* bytes, std::int64_t blocks, std::int32_t spacingBits,
                                 std::int64_t parity);
};

/// Rows that the distance transform advances side by side, in "skewed" order: element [t * seamLanes + i] is
/// row i, column t - i, for t from 0 to columns + seamLanes - 2. Elements of columns outside the image hold
/// anything.
constexpr std::int64_t seamLanes = 16;
/// What rows and row buffers of these loops need beside their columns, since whole blocks are read and
/// written: lane i of a step t lies at column t - i, which is negative while a block begins.
constexpr std::int64_t seamPadBefore = 16;
constexpr std::int64_t seamPadBehind = 48;

/// The distance of a pixel far from any empty one, and of every occupied pixel before the transform.
constexpr float farDistance = 255.0F;

struct SeamKernels {
    /// seamLanes rows of bytes to skewed order and back.
    void (*skewRows)(const std::uint8_t* rows, std::int64_t stride, std::int64_t cols, std::uint8_t* skewed);
    void (*unskewRows)(const std::uint8_t* skewed, std::int64_t cols, std::uint8_t* rows,
                       std::int64_t stride);

    /// Forward pass over a block of rows (the first rows of seamLanes are visited) with occupancy 255 or 0,
    /// below a finished row. Writes the distances, skewed, and the last lane's row.
    void (*chamferForward)(const std::uint8_t* occupied, std::int64_t cols, std::int64_t rows,
                           const float* above, float* distances, float* bottom);
    /// Backward pass, in place, above a finished row. Writes the first lane's row.
    void (*chamferBackward)(std::int64_t cols, std::int64_t rows, const float* below, float* distances,
                            float* top);

    /// Weights of the canvas, skewed, from its distances and the frame's.
    void (*weightsByDistances)(const float* canvas, const float* frame, std::int64_t cols,
                               std::uint8_t* weights);
    /// The same for a frame without empty pixels, whose distances are those to its edge: the smaller one of a
    /// limit for each row of the block and one for each column, which are read backwards (their first element
    /// is the last column's).
    void (*weightsByLimits)(const float* canvas, const float* rowLimits, const float* columnLimits,
                            std::int64_t cols, std::uint8_t* weights);
    /// The same where the frame holds nothing: all distances of the frame are 0.
    void (*weightsOfCanvas)(const float* canvas, std::int64_t cols, std::uint8_t* weights);
};

namespace baseline {
const Kernels& table();
const CornerKernels& cornerTable();
const SumKernels& sumTable();
const SeamKernels& seamTable();
}  // namespace baseline
namespace avx2 {
const Kernels& table();
const CornerKernels& cornerTable();
const SumKernels& sumTable();
const SeamKernels& seamTable();
}  // namespace avx2
namespace avx512 {
const Kernels& table();
const CornerKernels& cornerTable();
const SumKernels& sumTable();
const SeamKernels& seamTable();
}  // namespace avx512

}  // namespace brantel::simd
