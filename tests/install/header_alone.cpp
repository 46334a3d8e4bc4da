#include <brantel/brantel.h>

// Every exported function by its type, as a host may keep it.
bool (*const init)(std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                   std::int32_t, std::int32_t) = initJoint;
std::int32_t (*const stitch)(std::uint8_t*, std::uint8_t*, std::int32_t, std::int32_t, std::int32_t,
                             std::int32_t, bool, MosaicCorner*, MosaicCorner*, cv::Mat*,
                             StitchFlags*) = stichingImagedJoint;
bool (*const uninit)() = uinitJoint;
