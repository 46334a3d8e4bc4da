// Detection row by row, whole and in halves, finds the corners of the reference's steps over whole images.
#include "registration/detection.h"

#include "reference/features.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/lines.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Points = std::vector<CornerPoint>;

class Detection : public AtLevel {
  protected:
    /// Keeps its memory from image to image, as a stream does.
    Points cornersOf(const Bytes& image, std::int32_t rows, std::int32_t cols, const CornerTuning& tuning) {
        reference::FeatureStage stage(toOutput(), {0, 1, rows, cols}, tuning);
        Points expected;
        const Lines expectedLines = captureLines([&] {
            stage.run(image.data());
            expected = stage.features().corners;
        });
        const auto guarded = placed(image, places[(rows + cols) % 6]);
        const DetectionHelp helps[] = {{nullptr, &arena_}, {workers_.pair(), &arena_}};
        for (const DetectionHelp* help : {static_cast<const DetectionHelp*>(nullptr), &helps[0], &helps[1]}) {
            Points corners;
            std::int32_t result = -1;
            const Lines lines = captureLines([&] {
                result = findHarrisCornerCoordianteFun(toOutput(), guarded->data(), {0, 1, rows, cols},
                                                       tuning, images_, corners, help);
            });
            EXPECT_EQ(corners, expected) << rows << " x " << cols;
            EXPECT_EQ(lines, expectedLines);
            EXPECT_EQ(result, corners.empty() ? 0 : 1);
        }
        found_ += expected.size();
        return expected;
    }

    std::size_t found_ = 0;

  private:
    HarrisImages images_;
    IdleWorkers workers_;
    Arena<Buffer<float>> arena_;
};

CornerTuning tuningOf(std::int32_t densityLevel, std::int32_t workingScale = 2) {
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
                    cornersOf(bytesOf(contents, std::int64_t{height} * width, seed++), height, width,
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
            cornersOf(image, rows, cols, tuningOf(1, scale));
        }
    EXPECT_GT(found_, 0U);
}

TEST_P(Detection, OfPicturesWithEveryDensity) {
    for (const Texture texture : {Texture::fine, Texture::grains, Texture::grid})
        for (const std::int32_t density : {-3, 0, 1, 5, 20}) {
            const std::int32_t rows = 240 + density;
            const std::int32_t cols = 330 - 3 * density;
            cornersOf(makePicture(texture, rows, cols, 1, 30 + density).pixels, rows, cols,
                      tuningOf(density));
        }
    for (const auto& [rows, cols] : {std::pair{83, 401}, {401, 83}, {91, 255}})
        cornersOf(makePicture(Texture::fine, rows, cols, 1, 3).pixels, rows, cols, tuningOf(1));
    EXPECT_GT(found_, 1000U);
}

TEST_P(Detection, OfNoiseAndOfFullContrast) {
    for (std::uint64_t seed = 0; seed < 4; ++seed) {
        Bytes frame = randomBytes(200 * 301, seed);
        cornersOf(frame, 200, 301, tuningOf(1));
        for (std::uint8_t& sample : frame) sample = sample < 128 ? 0 : 255;
        cornersOf(frame, 200, 301, tuningOf(1));
    }
}

TEST_P(Detection, WithMoreMaximaThanTheCapLets) {
    CornerTuning tuning = tuningOf(1, 1);
    for (const std::int32_t budget : {0, 1, 7, 40}) {
        tuning.budget = budget;
        tuning.cap = 7 * budget;
        cornersOf(randomBytes(160 * 170, 3 + budget), 160, 170, tuning);
    }
    EXPECT_GT(found_, 0U);
}

TEST_P(Detection, CornersAreEvenAndFortyPixelsFromEveryEdge) {
    const Points corners =
        cornersOf(makePicture(Texture::fine, 241, 323, 1, 3).pixels, 241, 323, tuningOf(1));
    EXPECT_EQ(corners.size(), 181U);
    for (const CornerPoint& corner : corners) {
        EXPECT_EQ(corner.x % 2 + corner.y % 2, 0);
        EXPECT_GE(corner.x, 40);
        EXPECT_GE(corner.y, 40);
        EXPECT_LT(corner.x, 2 * (323 / 2 - 20));
        EXPECT_LT(corner.y, 2 * (241 / 2 - 20));
    }
}

TEST_P(Detection, OneWorkingPixelInsideTheBorderIsEnough) {
    // 82 x 82 leaves one row and column between the borders
    Bytes frame(82 * 82, 0);
    for (std::int32_t r = 40; r < 44; ++r)
        for (std::int32_t c = 40; c < 44; ++c) frame[r * 82 + c] = 255;
    EXPECT_EQ(cornersOf(frame, 82, 82, tuningOf(1)), (Points{{40, 40}}));
}

TEST_P(Detection, ABudgetOfZeroOrLessHasNoCorners) {
    const Bytes frame = makePicture(Texture::fine, 200, 200, 1, 3).pixels;
    for (const std::int32_t level : {-5, -8, -100})
        EXPECT_TRUE(cornersOf(frame, 200, 200, tuningOf(level)).empty()) << level;
}

BRANTEL_AT_EVERY_LEVEL(Detection);

/// One detection by itself.
struct Found {
    std::int32_t result = -1;
    Points corners;
    Lines lines;
};

Found detect(const std::uint8_t* frame, std::int32_t rows, std::int32_t cols, Points before = {}) {
    HarrisImages images;
    Found found;
    found.corners = std::move(before);
    found.lines = captureLines([&] {
        found.result = findHarrisCornerCoordianteFun(toOutput(), frame, {0, 1, rows, cols}, tuningOf(1),
                                                     images, found.corners, nullptr);
    });
    return found;
}

TEST(DetectionArguments, CornersAreAppended) {
    const Bytes frame = makePicture(Texture::fine, 200, 200, 1, 3).pixels;
    const Points alone = detect(frame.data(), 200, 200).corners;
    const Found found = detect(frame.data(), 200, 200, {{7, 7}});
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.corners.size(), alone.size() + 1);
    EXPECT_EQ(found.corners[0], (CornerPoint{7, 7}));
}

void expectNoCorners(const Bytes& frame, std::int32_t rows, std::int32_t cols) {
    const std::string empty = "goToGetRidOfSomeSPoints CornervalueIn size is 0";
    const Found found = detect(frame.data(), rows, cols);
    EXPECT_EQ(found.result, 0);
    EXPECT_TRUE(found.corners.empty());
    EXPECT_EQ(found.lines, (Lines{empty, empty, "HarrissCornerSPoint size is 0"})) << rows << " x " << cols;
}

TEST(DetectionArguments, AFeaturelessFrameSaysSoThreeTimes) {
    expectNoCorners(Bytes(200 * 200, 90), 200, 200);
}

TEST(DetectionArguments, AWorkingImageOfFortyRowsOrColumnsHasNoCorners) {
    const Bytes noise = randomBytes(200 * 200, 4);
    for (const auto& [rows, cols] : {std::pair{81, 200}, std::pair{200, 81}, std::pair{80, 80},
                                     std::pair{5, 5}, std::pair{4, 100}, std::pair{2, 2}})
        expectNoCorners(noise, rows, cols);
}

TEST(DetectionArguments, AnEmptyCropHasNoCorners) {
    const Bytes frame(100, 1);
    expectNoCorners(frame, 0, 10);
    expectNoCorners(frame, 10, 0);
    expectNoCorners(frame, 1, 100);  // half a row is none
}

TEST(DetectionArguments, ANullFrameIsRefused) {
    const Found found = detect(nullptr, 200, 200);
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.lines, Lines{"findHarrisCornerCoordianteFun ptr is null"});
}

}  // namespace
}  // namespace brantel::test
