#include "compose/acceptance.h"

#include <cmath>

#include "common/parallel_for.h"
#include "compose/ordered_sum.h"

namespace brantel {

namespace {

constexpr std::int32_t margin = 2;
constexpr std::uint8_t brightLevel = 10;

}  // namespace

float meanGrey(const GreyPart& part) {
    OrderedSum sum;
    for (std::int64_t r = margin; r < std::int64_t{part.rows} - margin; r += 2)
        sum.addEverySecond(part.pixels + r * part.stride + margin,
                           (std::int64_t{part.cols} - 2 * margin + 1) / 2);
    return sum.mean();
}

float meanOfBright(const GreyPart& part) {
    OrderedSum sum;
    for (std::int64_t r = 0; r < part.rows; ++r)
        sum.addGreater(part.pixels + r * part.stride, part.cols, brightLevel);
    return sum.mean();
}

void recordBrightness(StitchFlags& record, const GreyPart& canvas, const GreyPart& frame,
                      WorkerPair* workers) {
    struct Measure {
        float (*mean)(const GreyPart&);
        const GreyPart& part;
        float& result;
    };
    const Measure measures[] = {{meanOfBright, canvas, record.prevBrightMean},  // the longest ones first
                                {meanOfBright, frame, record.curBrightMean},
                                {meanGrey, canvas, record.prevMean},
                                {meanGrey, frame, record.curMean}};
    parallelFor(workers, 4, 1, [&](std::int64_t i, std::int64_t, std::int32_t) {
        measures[i].result = measures[i].mean(measures[i].part);
    });
}

void judgeBrightness(StitchFlags& record, bool strict, std::int32_t rows, std::int32_t cols) {
    const float tolerance = strict ? 40.0F : 128.0F;
    const float brightTolerance = strict ? 30.0F : 128.0F;
    if (record.offset.x < cols && record.offset.y < rows &&
        std::fabs(record.prevMean - record.curMean) < tolerance &&
        std::fabs(record.prevBrightMean - record.curBrightMean) < brightTolerance) {
        record.stitch_flags = 1;
    }
}

void judgeMotion(StitchFlags& record, bool strict, std::int64_t motion) {
    record.stitch_flags = motion < (strict ? 5 : 255) ? 1 : 0;
}

}  // namespace brantel
