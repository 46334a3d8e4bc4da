// Fixed numbers of the feature stage and what follows from a host's density level.
#pragma once

#include <cstdint>

namespace brantel {

/// Flat 5-tap kernel that smooths the gradient products.
constexpr float responseKernel[5] = {0.187627003F, 0.206067994F, 0.212608993F, 0.206067994F, 0.187627003F};
/// 5-tap kernel of the motion measure.
constexpr float smoothingKernel[5] = {0.0554486997F, 0.244201005F, 0.402619988F, 0.244201005F, 0.0554486997F};

constexpr std::int32_t scaleDivisor = 1;  // frames are worked on at full size
constexpr std::int32_t descriptorLength = 200;
constexpr std::int32_t descriptorWindow = 20;
constexpr float harrisK = 0.007F;
constexpr float spreadFactor = 0.5F;
constexpr float matchRatio = 0.98F;

/// Corners are found on the frame divided by this.
constexpr std::int32_t workingScaleFor(std::int32_t divisor) {
    return divisor == 1 || divisor == 2 ? 2 : 1;
}

/// Corner budget N for a density level, in wrapping 32-bit arithmetic with truncating division.
constexpr std::int32_t cornerBudgetFor(std::int32_t densityLevel) {
    const auto product = (static_cast<std::uint32_t>(densityLevel) + 8U) * (580U - scaleDivisor * 80U);
    return static_cast<std::int32_t>(product) / 16 - 100;
}

/// How many corners detection may hand on.
struct CornerTuning {
    std::int32_t densityLevel = 1;
    std::int32_t budget = cornerBudgetFor(1);                               // N
    std::int32_t cap = static_cast<std::int32_t>(7U * cornerBudgetFor(1));  // pre-selection, 7 N
    std::int32_t reductionFactor = scaleDivisor;
    std::int32_t workingScale = workingScaleFor(scaleDivisor);

    static CornerTuning forDensity(std::int32_t densityLevel) {
        CornerTuning tuning;
        tuning.densityLevel = densityLevel;
        tuning.budget = cornerBudgetFor(densityLevel);
        tuning.cap = static_cast<std::int32_t>(7U * static_cast<std::uint32_t>(tuning.budget));
        return tuning;
    }
};

}  // namespace brantel
