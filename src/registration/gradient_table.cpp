#include "registration/gradient_table.h"

#include <cmath>
#include <initializer_list>

namespace brantel {

namespace {

constexpr double pi = 3.141592653589793;
constexpr std::int32_t degreesPerBin = 45;

/// Truncated length of a gradient.
std::int32_t gradientMagnitude(std::int32_t gx, std::int32_t gy) {
    return static_cast<std::int32_t>(std::sqrt(static_cast<float>(gx * gx + gy * gy)));
}

/// Whole degrees of the angle between the gradient and the x axis, 0 to 90; gx is not 0. The arctangent is
/// taken in double and rounded: the single-precision one differs in its last bit between run-time libraries.
std::int32_t acuteDegrees(std::int32_t gx, std::int32_t gy) {
    const float ratio = std::fabs(static_cast<float>(gy) / static_cast<float>(gx));
    const float half = static_cast<float>(std::atan(static_cast<double>(ratio))) * 0.5F;
    return static_cast<std::int32_t>(static_cast<float>(static_cast<double>(half) / pi * 360.0));
}

/// acute is the angle of the components without their signs; with gx = 0 there is none.
std::int32_t degrees(std::int32_t gx, std::int32_t gy, std::int32_t acute) {
    if (gx == 0) return gy == 0 ? 0 : (gy > 0 ? 90 : 270);
    if (gx > 0) return gy > 0 ? acute : (acute == 0 ? 0 : 360 - acute);
    return gy > 0 ? 180 - acute : 180 + acute;
}

}  // namespace

GradientTable::GradientTable() {
    for (std::int32_t gy = 0; gy <= reach; ++gy)
        for (std::int32_t gx = 0; gx <= reach; ++gx) {
            // what takes time depends on the lengths of the components only
            const std::int32_t magnitude = gradientMagnitude(gx, gy);
            const std::int32_t acute = gx == 0 ? 0 : acuteDegrees(gx, gy);
            for (const std::int32_t x : {gx, -gx})
                for (const std::int32_t y : {gy, -gy})
                    entries_[place(x, y)] = static_cast<std::uint16_t>(magnitude * binCount +
                                                                       degrees(x, y, acute) / degreesPerBin);
        }
}

const GradientTable& gradientTable() {
    static const GradientTable table;
    return table;
}

}  // namespace brantel
