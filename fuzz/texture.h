// A texture without end whose windows join each other: cells of 6 x 6 pixels, all channels the same. One period of it is
// made once, since making pixels must not be what a fuzzer spends its time on.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace brantel::fuzz {

constexpr std::int64_t texturePeriod = 768;  // pixels, in both directions

inline std::uint8_t texel(std::int64_t x, std::int64_t y) {
    std::uint64_t h = static_cast<std::uint64_t>(x / 6) * 0x9E3779B97F4A7C15U +
                      static_cast<std::uint64_t>(y / 6) * 0xC2B2AE3D27D4EB4FU;
    h = (h ^ (h >> 29U)) * 0xBF58476D1CE4E5B9U;
    return static_cast<std::uint8_t>(h >> 56U);
}

/// One period with its first pixels once more at the end of each row, every pixel channels times.
inline std::vector<std::uint8_t> makeTexture(std::int64_t channels, std::int64_t longestRow) {
    const std::int64_t pixels = texturePeriod * (texturePeriod + longestRow);
    std::vector<std::uint8_t> texture(static_cast<std::size_t>(pixels * channels));
    std::uint8_t* sample = texture.data();
    for (std::int64_t y = 0; y < texturePeriod; ++y)
        for (std::int64_t x = 0; x < texturePeriod + longestRow; ++x, sample += channels)
            std::memset(sample, texel(x % texturePeriod, y), static_cast<std::size_t>(channels));
    return texture;
}

/// A row of pixels from column x of row y, for 1 or 3 channels.
inline void textureRow(std::int64_t x, std::int64_t y, std::int64_t pixels, std::int64_t channels,
                       std::uint8_t* row) {
    constexpr std::int64_t longestRow = 2200;
    static const std::vector<std::uint8_t> grey = makeTexture(1, longestRow);
    static const std::vector<std::uint8_t> colour = makeTexture(3, longestRow);
    const auto wrapped = [](std::int64_t value) {
        return (value % texturePeriod + texturePeriod) % texturePeriod;
    };
    const std::vector<std::uint8_t>& texture = channels == 1 ? grey : colour;
    const std::int64_t start = wrapped(y) * (texturePeriod + longestRow) + wrapped(x);
    std::memcpy(row, texture.data() + start * channels, static_cast<std::size_t>(pixels * channels));
}

}  // namespace brantel::fuzz
