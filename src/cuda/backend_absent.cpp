// Stands in for the CUDA backend where the build has no CUDA compiler.
#include "common/log.h"
#include "cuda/backend.h"

namespace brantel {

bool initJointCuda(const FrameSetup& /*setup*/) {
    streamLine("have no cuda device");
    return false;
}

std::int32_t stichingImagedJointCuda(const StitchCall& /*call*/) {
    return -1;  // never reached: the initialisation never succeeds
}

bool uinitJointCuda() {
    return true;
}

}  // namespace brantel
