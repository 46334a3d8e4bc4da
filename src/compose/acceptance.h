// Is a frame fit to be merged? The brightness test and the motion test.
#pragma once

#include <brantel/brantel.h>

#include <cstdint>

#include "common/worker_pair.h"

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

/// Fills the record's four brightness measures from the grey images of both parts of an overlap. Idle workers
/// help; may be null.
void recordBrightness(StitchFlags& record, const GreyPart& canvas, const GreyPart& frame,
                      WorkerPair* workers);

/// Sets stitch_flags when the record's brightness measures agree within the strict or the wide tolerances and
/// the offset is smaller than a frame of rows x cols (negative offsets always are). Never clears it: a 1
/// stays until the next initialisation, deliberately (quirk 35).
void judgeBrightness(StitchFlags& record, bool strict, std::int32_t rows, std::int32_t cols);

/// Sets stitch_flags when a motion measure is below the strict or the wide threshold, else clears it.
void judgeMotion(StitchFlags& record, bool strict, std::int64_t motion);

}  // namespace brantel
