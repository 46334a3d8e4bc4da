#include "reference/acceptance.h"

namespace brantel::reference {

namespace {

/// Both measures add up in one single-precision accumulator, row by row: its roundings beyond 2^24 are part of the
/// result.
struct Mean {
    float sum = 0;
    std::int64_t count = 0;

    void add(std::uint8_t sample) {
        sum += static_cast<float>(sample);
        ++count;
    }
    float value() const { return sum / static_cast<float>(count); }
};

}  // namespace

float meanGrey(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols) {
    constexpr std::int64_t margin = 2;
    Mean mean;
    for (std::int64_t r = margin; r < rows - margin; r += 2)
        for (std::int64_t x = margin; x < cols - margin; x += 2) mean.add(grey[r * cols + x]);
    return mean.value();
}

float meanOfBright(const std::uint8_t* grey, std::int64_t pixels) {
    constexpr std::uint8_t brightLevel = 10;
    Mean mean;
    for (std::int64_t i = 0; i < pixels; ++i)
        if (grey[i] > brightLevel) mean.add(grey[i]);
    return mean.value();
}

}  // namespace brantel::reference
