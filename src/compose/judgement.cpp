#include "compose/judgement.h"

#include <cmath>

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

void judgeBrightness(StitchFlags& record, const StitchModes& modes, std::int32_t rows, std::int32_t cols) {
    const bool strict = modes.GstaticMainDynamicFlag != 0;
    const float tolerance = strict ? 40.0F : 128.0F;
    const float brightTolerance = strict ? 30.0F : 128.0F;
    if (record.offset.x < cols && record.offset.y < rows &&
        std::fabs(record.prevMean - record.curMean) < tolerance &&
        std::fabs(record.prevBrightMean - record.curBrightMean) < brightTolerance) {
        record.stitch_flags = 1;
    }
}

std::int32_t motionThreshold(const StitchModes& modes) {
    return modes.GstaticMainDynamicFlag != 0 ? 5 : 255;
}

void judgeMotion(StitchFlags& record, const StitchModes& modes, std::int64_t motion) {
    record.stitch_flags = motion < motionThreshold(modes) ? 1 : 0;
}

}  // namespace brantel
