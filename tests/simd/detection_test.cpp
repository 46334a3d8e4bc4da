// Whole detection in rows through the cache against the plain steps over whole images.
#include "cpu/detection.h"
#include "plain/features.h"
#include "simd/at_level.h"
#include "simd/crew.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Points = std::vector<CornerPoint>;

class Detection : public AtLevel {
  protected:
    /// Keeps its memory from image to image, as a stream does.
    void expectPlainCorners(const Bytes& image, std::int32_t rows, std::int32_t cols,
                            const CornerTuning& tuning) {
        plain::FeatureStage stage(rows, cols, 1, tuning);
        stage.run(image.data(), nullptr);
        const auto guarded = placed(image, places[(rows + cols) % 6]);
        for (const DetectionHelp& help :
             {DetectionHelp{nullptr, &responses_}, {crew_.workers(), &responses_}}) {
            Points corners;
            const bool alone = help.workers == nullptr && (rows + cols) % 2 == 0;
            const std::int32_t result = findHarrisCornerCoordianteFun(
                guarded->data(), {0, 1, rows, cols}, tuning, images_, corners, alone ? nullptr : &help);
            EXPECT_EQ(corners, stage.features().corners) << rows << " x " << cols;
            EXPECT_EQ(result, corners.empty() ? 0 : 1);
            found_ += corners.size();
        }
    }

    HarrisImages images_;
    Crew crew_;
    Buffer<float> responses_;
    std::size_t found_ = 0;
};

CornerTuning tuningOf(std::int32_t densityLevel, std::int32_t workingScale) {
    CornerTuning tuning = CornerTuning::forDensity(densityLevel);
    tuning.workingScale = workingScale;
    return tuning;
}

TEST_P(Detection, OfAllContentsAroundTheSmallestSize) {
    std::uint64_t seed = 1;
    for (const std::int32_t scale : {1, 2})
        for (const std::int32_t rows : {1, 39, 40, 41, 42, 43, 57})
            for (const std::int32_t cols : {1, 40, 41, 42, 45, 56, 57, 73})
                for (const Contents contents : allContents) {
                    // an odd row or column more than the working size needs must change nothing
                    const std::int32_t extra = scale == 2 ? static_cast<std::int32_t>(seed % 2) : 0;
                    const std::int32_t height = rows * scale + extra;
                    const std::int32_t width = cols * scale + extra;
                    expectPlainCorners(bytesOf(contents, std::int64_t{height} * width, seed++), height, width,
                                       tuningOf(1, scale));
                }
    EXPECT_GT(found_, 0U);
}

TEST_P(Detection, OfRampsAndPlateaus) {
    const std::int32_t rows = 131;
    const std::int32_t cols = 147;
    for (const std::int32_t scale : {1, 2})
        for (int kind = 0; kind < 6; ++kind) {
            Bytes image(rows * cols);
            for (std::int32_t r = 0; r < rows; ++r)
                for (std::int32_t c = 0; c < cols; ++c) {
                    const std::int32_t values[6] = {r,
                                                    2 * c,
                                                    r * c / 80,
                                                    ((r / 8 + c / 8) % 2) * 255,
                                                    ((r / 24) * 37 + (c / 16) * 91) % 256,
                                                    (r > 70 && c > 66) ? 255 : 0};
                    image[r * cols + c] = static_cast<std::uint8_t>(values[kind]);
                }
            expectPlainCorners(image, rows, cols, tuningOf(1, scale));
        }
    EXPECT_GT(found_, 0U);
}

TEST_P(Detection, OfPicturesWithEveryDensity) {
    for (const Texture texture : {Texture::fine, Texture::grains, Texture::grid})
        for (const std::int32_t density : {-3, 0, 1, 5, 20}) {
            const std::int32_t rows = 240 + density;
            const std::int32_t cols = 330 - 3 * density;
            const Picture picture = makePicture(texture, rows, cols, 1, 30 + density);
            expectPlainCorners(picture.pixels, rows, cols, tuningOf(density, 2));
        }
    EXPECT_GT(found_, 1000U);
}

TEST_P(Detection, WithMoreMaximaThanTheCapLets) {
    CornerTuning tuning = tuningOf(1, 1);
    for (const std::int32_t budget : {0, 1, 7, 40}) {
        tuning.budget = budget;
        tuning.cap = 7 * budget;
        expectPlainCorners(randomBytes(160 * 170, 3 + budget), 160, 170, tuning);
    }
    EXPECT_GT(found_, 0U);
}

BRANTEL_AT_EVERY_LEVEL(Detection);

}  // namespace
}  // namespace brantel::test
