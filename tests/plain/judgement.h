// Plain twins of compose/judgement.h, documented there.
#pragma once

#include <cstdint>

#include "common/stitch_call.h"

namespace brantel::plain {

float meanGrey(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols);

float meanOfBright(const std::uint8_t* grey, std::int64_t pixels);

void judgeBrightness(StitchFlags& record, const StitchModes& modes, std::int32_t rows, std::int32_t cols);

std::int32_t motionThreshold(const StitchModes& modes);

}  // namespace brantel::plain
