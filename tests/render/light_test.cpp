// Flat field and gains, solved over overlaps.
#include "light/solve_light.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "render/scan_in_memory.h"

namespace brantel::render::test {
namespace {

/// As measuring would find it, with the truth for the offsets.
LightEvidence evidenceOf(MemoryScan& scan) {
    LightEvidence evidence;
    evidence.channels = scan.picture.channels();
    evidence.frameSize = scan.size;
    const double white = scan.picture.depth() == CV_16U ? 65535 : 255;
    std::vector<LightPicture> pictures;
    for (std::size_t k = 0; k < scan.places.size(); ++k) {
        pictures.push_back(lightPictureOf(scan.read(k)));
        evidence.grids.push_back(lightGridOf(pictures[k], white));
    }
    for (std::size_t a = 0; a < pictures.size(); ++a)
        for (std::size_t b = a + 1; b < pictures.size(); ++b)
            addCells(a, pictures[a], b, pictures[b], cv::Point2d(scan.places[b] - scan.places[a]), white, 800,
                     evidence.cells);
    return evidence;
}

MemoryScan scanOf(int type) {
    return MemoryScan({320, 240}, {250, 190}, {1100, 860}, type, 7);
}

double worstFactor(const MemoryScan& scan, const FlatField& field) {
    double worst = 0;
    const int channels = field.factors.channels();
    for (int row = 0; row * field.step < scan.size.height; ++row)
        for (int k = 0; k < field.factors.cols * channels; ++k) {
            const int col = k / channels * field.step;
            if (col >= scan.size.width) continue;
            worst = std::max(
                worst, std::abs(field.factors.ptr<float>(row)[k] * scan.lightAt(row * field.step, col) - 1));
        }
    return worst;
}

class LightOfEveryKind : public ::testing::TestWithParam<int> {};

TEST_P(LightOfEveryKind, VignettingIsTakenOutAndGainsStayOne) {
    MemoryScan scan = scanOf(GetParam());
    scan.vignetting = 0.4;
    const LightSolution light = solveLight(evidenceOf(scan), true, true);
    ASSERT_FALSE(light.field.isEven());
    EXPECT_EQ(light.field.factors.size(), FlatField::sizeFor(scan.size, light.field.step));
    EXPECT_EQ(light.field.factors.channels(), scan.picture.channels());
    EXPECT_LT(worstFactor(scan, light.field), 0.01);
    for (const float gain : light.gains) EXPECT_NEAR(gain, 1, 0.006);
    EXPECT_GT(light.seamsBefore, 0.02);
    EXPECT_LT(light.seamsAfter, 0.006);
    EXPECT_EQ(light.remark, "");
}

TEST_P(LightOfEveryKind, GainsMakeUpForExposures) {
    MemoryScan scan = scanOf(GetParam());
    for (std::size_t k = 0; k < scan.exposures.size(); ++k)
        scan.exposures[k] = 1 - 0.07 * static_cast<double>(k % 4);
    const LightSolution light = solveLight(evidenceOf(scan), false, true);
    EXPECT_TRUE(light.field.isEven());
    for (std::size_t k = 1; k < light.gains.size(); ++k)
        EXPECT_NEAR(light.gains[k] / light.gains[0], scan.exposures[0] / scan.exposures[k], 0.01) << k;
}

TEST_P(LightOfEveryKind, EvenLightIsLeftAlone) {
    MemoryScan scan = scanOf(GetParam());
    const LightSolution light = solveLight(evidenceOf(scan), true, true);
    EXPECT_TRUE(light.field.isEven());
    EXPECT_EQ(light.remark, "the light is even within 1 %: none was taken out");
    for (const float gain : light.gains) EXPECT_EQ(gain, 1);
    EXPECT_EQ(light.seamsAfter, light.seamsBefore);
}

INSTANTIATE_TEST_SUITE_P(Types, LightOfEveryKind, ::testing::Values(CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3));

TEST(Light, OfBothKindsIsToldApart) {
    MemoryScan scan = scanOf(CV_16UC1);
    scan.vignetting = 0.3;
    for (std::size_t k = 0; k < scan.exposures.size(); ++k) scan.exposures[k] = k % 3 == 1 ? 0.7 : 1;
    const LightSolution light = solveLight(evidenceOf(scan), true, true);
    EXPECT_LT(worstFactor(scan, light.field), 0.02);
    EXPECT_NEAR(light.gains[1] / light.gains[0], 1 / 0.7, 0.02);
}

TEST(Light, OfTooFewFramesIsNotToldFromThePicture) {
    MemoryScan scan({320, 240}, {250, 190}, {900, 240}, CV_8UC1, 7);
    ASSERT_EQ(scan.places.size(), 3U);
    scan.vignetting = 0.4;
    const LightSolution light = solveLight(evidenceOf(scan), true, true);
    EXPECT_TRUE(light.field.isEven());
    EXPECT_NE(light.remark.find("too few frames overlap"), std::string::npos) << light.remark;
}

TEST(Light, WithoutAnyEvidenceIsLeftAlone) {
    LightEvidence evidence;
    evidence.frameSize = {10, 10};
    evidence.grids.resize(3);
    const LightSolution light = solveLight(evidence, true, true);
    EXPECT_EQ(light.gains, std::vector<float>(3, 1.0F));
    EXPECT_TRUE(light.field.isEven());
}

TEST(FieldFromAPicture, UndoesItsLight) {
    MemoryScan scan = scanOf(CV_16UC3);
    scan.vignetting = 0.5;
    cv::Mat even(scan.size, CV_16UC1);
    for (int row = 0; row < even.rows; ++row)
        for (int col = 0; col < even.cols; ++col)
            even.at<std::uint16_t>(row, col) =
                static_cast<std::uint16_t>(50000 * scan.lightAt(row, col) + 0.5);
    const FlatField field = fieldFrom(even, scan.size, 3);
    EXPECT_EQ(field.factors.type(), CV_32FC3);
    EXPECT_LT(worstFactor(scan, field), 1e-3);
    LightEvidence evidence = evidenceOf(scan);
    takeOut(field, evidence);
    EXPECT_LT(solveLight(evidence, false, false).seamsBefore, 0.005);
}

TEST(FieldFromAPicture, OfAnotherSizeOrBlackIsRefused) {
    EXPECT_THROW(fieldFrom(cv::Mat(10, 12, CV_8UC1, cv::Scalar(9)), {10, 12}, 1), std::invalid_argument);
    EXPECT_THROW(fieldFrom(cv::Mat(10, 12, CV_8UC3, cv::Scalar::all(9)), {12, 10}, 1), std::invalid_argument);
    EXPECT_THROW(fieldFrom(cv::Mat(10, 12, CV_8UC1, cv::Scalar(0)), {12, 10}, 1), std::invalid_argument);
}

}  // namespace
}  // namespace brantel::render::test
