#include "plain/judgement.h"

#include <cmath>

namespace brantel::plain {

namespace {

constexpr std::int32_t margin = 2;
constexpr std::int32_t brightLevel = 10;

}  // namespace

float meanGrey(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols) {
    float sum = 0;
    std::int64_t count = 0;
    for (std::int64_t r = margin; r < std::int64_t{rows} - margin; r += 2)
        for (std::int64_t x = margin; x < std::int64_t{cols} - margin; x += 2) {
            sum += static_cast<float>(grey[r * cols + x]);
            ++count;
        }
    return sum / static_cast<float>(count);
}

float meanOfBright(const std::uint8_t* grey, std::int64_t pixels) {
    float sum = 0;
    std::int64_t count = 0;
    for (std::int64_t i = 0; i < pixels; ++i)
        if (grey[i] > brightLevel) {
            sum += static_cast<float>(grey[i]);
            ++count;
        }
    return sum / static_cast<float>(count);
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

}  // namespace brantel::plain
