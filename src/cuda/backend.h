// The CUDA backend. Where the build has no CUDA compiler a twin takes its place that finds no device.
#pragma once

#include "common/stitch_call.h"

namespace brantel {

bool initJointCuda(const FrameSetup& setup);
std::int32_t stichingImagedJointCuda(const StitchCall& call);
bool uinitJointCuda();

}  // namespace brantel
