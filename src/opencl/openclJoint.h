// The OpenCL backend. initJoint brings it up as a check only.
#pragma once

#include "common/stitch_call.h"

namespace brantel {

bool initJointCL(const FrameSetup& setup);
std::int32_t stichingImagedJointCL(const StitchCall& call);
bool uinitJointCL();

}  // namespace brantel
