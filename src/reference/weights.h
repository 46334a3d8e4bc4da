// How much of the canvas and how much of a new frame each pixel of a seam gets: one whole image after the other.
#pragma once

#include <cstdint>

#include "common/log.h"

namespace brantel::reference {

/// 255.0 where the image (1 or 3 channels) has content, 0.0 where its grey value is 0. False, with "rgb2gray ptr
/// invailed", for a null image.
bool occupancyMask(const Log& log, const std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                   std::int32_t channels, float* mask);

/// Distance to the nearest zero pixel, in place: two passes with steps of 0.2 to the side and 0.3 across, looking only
/// left, up and up-left, then right, down and down-right (deliberately not the other two diagonals). The outermost rows
/// and columns are not visited; 255 stands for far away.
void chamferDistance(float* mask, std::int32_t rows, std::int32_t cols);

/// Its two passes. Rows above and below that are finished already pass on their distances.
void chamferForward(float* mask, std::int32_t rows, std::int32_t cols);
void chamferBackward(float* mask, std::int32_t rows, std::int32_t cols);

/// weight = (255 * a) / (a + b), truncated to a byte; 0 where both distances are 0.
void weightsFromDistances(const float* a, const float* b, std::int64_t pixels, std::uint8_t* weights);

/// Weight of the canvas cut against the new frame: masks, cleared edge of the frame's mask only (so that a new frame
/// always fades out at its own edge), distances, weights. maskA and maskB are scratch of rows x cols floats. False, with
/// "ptr is null", for a null image.
bool weightMask(const Log& log, const std::uint8_t* cut, const std::uint8_t* frame, std::int32_t rows,
                std::int32_t cols, std::int32_t channels, float* maskA, float* maskB, std::uint8_t* weights);

/// frame = (cut * w + (255 - w) * frame) >> 8 with one channel, / 255 with three. The two divide differently,
/// deliberately.
void fuseImages(const std::uint8_t* cut, const std::uint8_t* weights, std::int64_t pixels,
                std::int32_t channels, std::uint8_t* frame);

}  // namespace brantel::reference
