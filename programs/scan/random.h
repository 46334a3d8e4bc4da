// Random numbers that are the same on every platform.
#pragma once

#include <cstdint>
#include <random>

namespace brantel::programs {

/// The standard fixes the numbers of mt19937 but not those of its distributions, so these are made by hand.
class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    /// 0 to count - 1.
    std::int32_t below(std::int32_t count) {
        return static_cast<std::int32_t>(engine_() % static_cast<std::uint32_t>(count));
    }

    /// lowest to highest, both included.
    std::int32_t between(std::int32_t lowest, std::int32_t highest) {
        return lowest + below(highest - lowest + 1);
    }

    /// Close to a normal distribution with deviation 1: the sum of eight uniform 16-bit numbers.
    double normal() {
        std::uint32_t sum = 0;
        for (int i = 0; i < 4; ++i) {
            const auto bits = static_cast<std::uint32_t>(engine_());
            sum += (bits & 0xFFFFU) + (bits >> 16);
        }
        return (static_cast<double>(sum) - 8 * 32767.5) / deviationOfSum;
    }

  private:
    static constexpr double deviationOfSum = 53509.96;  // 65536 * sqrt(8 / 12)

    std::mt19937 engine_;
};

}  // namespace brantel::programs
