// The coarse shift decides bytes: every machine, compiler and instruction level finds the same bits.
#include <gtest/gtest.h>

#include <cstring>

#include "session/coarse_frames.h"
#include "simd/level.h"
#include "support/at_level.h"

namespace brantel::test {
namespace {

Grey greyOf(const Grey& frame, std::int32_t pixels) {
    Grey grey(static_cast<std::size_t>(pixels));
    simd::kernels().greyRow(frame.data(), pixels, grey.data());
    return grey;
}

/// Results with and without overlap, of several textures and sizes.
std::uint64_t hashOfResults() {
    struct Case {
        Texture texture;
        std::int32_t rows, cols, x, y;
        std::int32_t noise;
    };
    constexpr Case cases[] = {
        {Texture::fine, 480, 640, 333, -21, 4},     {Texture::grains, 479, 641, -71, 402, 9},
        {Texture::grid, 480, 640, 300, 2, 0},       {Texture::fine, 1201, 1999, 1501, 333, 2},
        {Texture::grains, 150, 113, 60, 7, 1},      {Texture::fine, 97, 900, -200, 5, 20},
        {Texture::grid, 300, 300, 290, 290, 5},     {Texture::grains, 960, 1280, 1100, 10, 3},
        {Texture::fine, 2048, 2448, -200, 1900, 0}, {Texture::fine, 8, 8, 1, 1, 0},
    };
    std::vector<double> results;
    for (const Case& c : cases) {
        const Picture picture = makePicture(c.texture, c.rows + std::abs(c.y), c.cols + std::abs(c.x), 3, 42);
        Grey frames[2];
        for (int k = 0; k < 2; ++k) {
            const std::int32_t x = k == 0 ? std::max(0, -c.x) : std::max(0, c.x);
            const std::int32_t y = k == 0 ? std::max(0, -c.y) : std::max(0, c.y);
            frames[k] = greyOf(picture.window(x, y, c.rows, c.cols), c.rows * c.cols);
            addNoise(frames[k], c.noise, static_cast<std::uint64_t>(k));
        }
        const CoarseShift shift = matchOf({c.rows, c.cols, frames[0], frames[1]});
        for (const double value : {static_cast<double>(shift.verdict), shift.x, shift.y, shift.confidence,
                                   shift.low, shift.rival, shift.strength})
            results.push_back(value);
    }
    return hashOf(results.data(), results.size() * sizeof(double));
}

class CoarsePortability : public AtLevel {};
BRANTEL_AT_EVERY_LEVEL(CoarsePortability);

TEST_P(CoarsePortability, ResultsAreTheseBits) {
    EXPECT_EQ(hashOfResults(), 0x6EF34D2F8F422486U);
}

}  // namespace
}  // namespace brantel::test
