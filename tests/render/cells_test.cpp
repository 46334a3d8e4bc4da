// What overlaps say about the light.
#include "light/cells.h"

#include <gtest/gtest.h>

#include <cmath>

#include "render/scan_in_memory.h"

namespace brantel::render::test {
namespace {

constexpr std::size_t many = 100000;

TEST(LightCells, OfTheSameSceneTellTheExposuresAndTheLight) {
    MemoryScan scan({300, 240}, {200, 160}, {700, 600}, CV_16UC3, 1);
    scan.vignetting = 0.3;
    scan.exposures[1] = 0.8;
    const LightPicture first = lightPictureOf(scan.read(0));
    const LightPicture second = lightPictureOf(scan.read(1));
    std::vector<LightCell> cells;
    const cv::Point2d step(scan.places[1] - scan.places[0]);
    addCells(0, first, 1, second, step, 65535, many, cells);
    ASSERT_GT(cells.size(), 50U);
    for (const LightCell& cell : cells) {
        const auto light = [](const FramePoint& point) {
            return 1 - 0.3 * (point.x * point.x + point.y * point.y) / 2;
        };
        for (const float ratio : cell.ratio)
            EXPECT_NEAR(ratio, std::log(light(cell.inFirst) / (0.8 * light(cell.inSecond))), 0.01);
        // The same place of the scene.
        EXPECT_NEAR((cell.inFirst.x - cell.inSecond.x) * 300 / 2, step.x, 0.01);
        EXPECT_NEAR((cell.inFirst.y - cell.inSecond.y) * 240 / 2, step.y, 0.01);
    }
}

TEST(LightCells, AreNoMoreThanWantedByMuch) {
    MemoryScan scan({300, 240}, {30, 160}, {400, 300}, CV_8UC1, 2);
    const LightPicture first = lightPictureOf(scan.read(0));
    const LightPicture second = lightPictureOf(scan.read(1));
    std::vector<LightCell> cells;
    addCells(0, first, 1, second, {30, 0}, 255, 100, cells);
    EXPECT_GT(cells.size(), 60U);
    EXPECT_LT(cells.size(), 140U);
}

TEST(LightCells, AreNotTakenFromBlackAndWhitePlaces) {
    LightPicture dark = lightPictureOf(cv::Mat(100, 120, CV_8UC1, cv::Scalar(0)));
    LightPicture white = lightPictureOf(cv::Mat(100, 120, CV_8UC1, cv::Scalar(255)));
    LightPicture fine = lightPictureOf(cv::Mat(100, 120, CV_8UC1, cv::Scalar(100)));
    std::vector<LightCell> cells;
    addCells(0, dark, 1, fine, {20, 10}, 255, many, cells);
    addCells(0, fine, 1, white, {20, 10}, 255, many, cells);
    EXPECT_TRUE(cells.empty());
    addCells(0, fine, 1, fine, {20, 10}, 255, many, cells);
    EXPECT_FALSE(cells.empty());
    for (const float value : lightGridOf(dark, 255).values) EXPECT_TRUE(std::isnan(value));
    for (const float value : lightGridOf(fine, 255).values) EXPECT_NEAR(value, 0, 1e-6);
}

TEST(LightCells, OfOverlapsThatAreTooSmallAreNone) {
    const LightPicture picture = lightPictureOf(cv::Mat(60, 80, CV_8UC1, cv::Scalar(100)));
    std::vector<LightCell> cells;
    for (const cv::Point2d offset :
         {cv::Point2d(79, 0), cv::Point2d(0, 59), cv::Point2d(-500, 3), cv::Point2d(80, 60)})
        addCells(0, picture, 1, picture, offset, 255, many, cells);
    EXPECT_TRUE(cells.empty());
    const LightPicture tiny = lightPictureOf(cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(9)));
    addCells(0, tiny, 1, tiny, {0, 0}, 255, many, cells);
    EXPECT_TRUE(cells.empty());
    EXPECT_EQ(lightGridOf(tiny, 255).values.size(), LightGrid::valuesOf(3));
}

}  // namespace
}  // namespace brantel::render::test
