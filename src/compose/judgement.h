// Is a frame fit to be merged? The brightness and the motion test.
#pragma once

#include <cstdint>

#include "common/stitch_call.h"

namespace brantel {

/// A rectangle of a grey image, or all of it.
struct GreyPart {
    const std::uint8_t* pixels;
    std::int64_t stride;
    std::int32_t rows;
    std::int32_t cols;

    static GreyPart whole(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols) {
        return {grey, cols, rows, cols};
    }
};

/// Mean of every second row and column inside a margin of 2 pixels; NaN without a sample. Single precision,
/// one accumulator, row by row: the roundings of the sum beyond 2^24 are part of the result.
float meanGrey(const GreyPart& part);

/// Mean of the samples greater than 10; NaN without one. Single precision, one accumulator, row by row.
float meanOfBright(const GreyPart& part);

/// Sets stitch_flags when the record's brightness measures agree within the tolerances of the static/dynamic
/// switch and the offset is smaller than the frame (negative offsets always are). Never clears it: a 1 stays
/// until the next initialisation, deliberately.
void judgeBrightness(StitchFlags& record, const StitchModes& modes, std::int32_t rows, std::int32_t cols);

/// A motion measure must stay below this.
std::int32_t motionThreshold(const StitchModes& modes);
/// Sets or clears stitch_flags by a motion measure.
void judgeMotion(StitchFlags& record, const StitchModes& modes, std::int64_t motion);

}  // namespace brantel
