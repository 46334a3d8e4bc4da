#include "scan/scan.h"

#include <gtest/gtest.h>

#include <cmath>

#include "scan/generated_picture.h"
#include "scan/random.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

/// FNV-1a over the pixels.
std::uint64_t fingerprint(const cv::Mat& picture) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (std::int32_t row = 0; row < picture.rows; ++row) {
        const auto* bytes = picture.ptr<std::uint8_t>(row);
        for (std::size_t i = 0; i < picture.cols * picture.elemSize(); ++i)
            hash = (hash ^ bytes[i]) * 0x100000001B3U;
    }
    return hash;
}

ScanSettings smallScan() {
    ScanSettings settings;
    settings.frame = {40, 30};
    settings.overlap = 0.5;
    return settings;
}

TEST(PlanScan, SerpentineGoesToAndFro) {
    const std::vector<cv::Point> plan = planScan({80, 60}, smallScan());
    EXPECT_EQ(plan, (std::vector<cv::Point>{{0, 0}, {20, 0}, {40, 0}, {40, 16}, {20, 16}, {0, 16}}));
}

TEST(PlanScan, RowRunsThroughTheMiddle) {
    ScanSettings settings = smallScan();
    settings.path = ScanPath::row;
    settings.step = {15, 0};
    EXPECT_EQ(planScan({80, 60}, settings), (std::vector<cv::Point>{{0, 15}, {15, 15}, {30, 15}}));
}

TEST(PlanScan, WalkStaysInsideAndStepsByTheStep) {
    ScanSettings settings = smallScan();
    settings.path = ScanPath::walk;
    settings.frames = 60;
    const std::vector<cv::Point> plan = planScan({200, 150}, settings);
    ASSERT_EQ(plan.size(), 60U);
    for (std::size_t k = 1; k < plan.size(); ++k) {
        EXPECT_TRUE(cv::Rect(0, 0, 161, 121).contains(plan[k])) << k;
        const cv::Point move = plan[k] - plan[k - 1];
        EXPECT_TRUE(std::abs(move.x) == 20 || std::abs(move.y) == 16) << k;
    }
    EXPECT_EQ(plan, planScan({200, 150}, settings));
    settings.seed = 2;
    EXPECT_NE(plan, planScan({200, 150}, settings));
}

TEST(PlanScan, WalkWithoutRoomEnds) {
    ScanSettings settings = smallScan();
    settings.path = ScanPath::walk;
    EXPECT_EQ(planScan({41, 31}, settings).size(), 1U);
}

TEST(PlanScan, CountsAndJitterAreKeptInsideThePicture) {
    ScanSettings settings = smallScan();
    settings.jitter = 3;
    settings.frames = 4;
    const std::vector<cv::Point> plan = planScan({80, 60}, settings);
    ASSERT_EQ(plan.size(), 4U);
    for (const cv::Point& at : plan) EXPECT_TRUE(cv::Rect(0, 0, 41, 31).contains(at));
}

TEST(PlanScan, RefusesAFrameThatDoesNotFit) {
    EXPECT_THROW(planScan({39, 60}, smallScan()), InputError);
}

TEST(CutFrame, IsTheUntouchedPartWithoutFaults) {
    const cv::Mat picture = generatePicture({80, 60}, 3);
    const std::vector<cv::Point> plan{{7, 9}};
    const cv::Mat frame = cutFrame(picture, smallScan(), plan, 0);
    EXPECT_EQ(fingerprint(frame), fingerprint(picture(cv::Rect(7, 9, 40, 30))));
}

TEST(CutFrame, DriftAndVignettingChangeTheLight) {
    ScanSettings settings = smallScan();
    settings.drift = 0.5;
    settings.vignetting = 0.2;
    const cv::Mat picture(60, 80, CV_8UC1, cv::Scalar(100));
    const std::vector<cv::Point> plan{{0, 0}, {20, 0}, {40, 0}};
    const cv::Mat first = cutFrame(picture, settings, plan, 0);
    const cv::Mat last = cutFrame(picture, settings, plan, 2);
    EXPECT_EQ(first.at<std::uint8_t>(15, 20), 100);
    EXPECT_NEAR(first.at<std::uint8_t>(0, 0), 81, 1);
    EXPECT_EQ(last.at<std::uint8_t>(15, 20), 150);
}

TEST(CutFrame, NoiseHasTheDeviationAskedFor) {
    ScanSettings settings;
    settings.frame = {200, 150};
    settings.noise = 6;
    const cv::Mat picture(150, 200, CV_8UC1, cv::Scalar(100));
    const cv::Mat frame = cutFrame(picture, settings, {{0, 0}}, 0);
    double sum = 0;
    double squares = 0;
    for (auto at = frame.begin<std::uint8_t>(); at != frame.end<std::uint8_t>(); ++at) {
        sum += *at - 100.0;
        squares += (*at - 100.0) * (*at - 100.0);
    }
    EXPECT_NEAR(sum / 30000, 0, 0.2);
    EXPECT_NEAR(std::sqrt(squares / 30000), 6, 0.2);
}

// The bytes below are part of what the scans promise: equal on every platform.
TEST(CutFrame, GivesTheSameBytesEverywhere) {
    ScanSettings settings = smallScan();
    settings.noise = 5;
    settings.drift = 0.1;
    settings.vignetting = 0.15;
    const cv::Mat picture = generatePicture({120, 90}, 7);
    const std::vector<cv::Point> plan = planScan(picture.size(), settings);
    EXPECT_EQ(fingerprint(picture), 14161811516409217515U);
    EXPECT_EQ(fingerprint(cutFrame(picture, settings, plan, 5)), 11436818038212238375U);
}

TEST(Truth, ListsPositionsAndSteps) {
    EXPECT_EQ(
        truthTable({{0, 0}, {20, 0}, {20, 16}}),
        "file,x,y,dx,dy\nframe_0001.png,0,0,0,0\nframe_0002.png,20,0,20,0\nframe_0003.png,20,16,0,16\n");
}

}  // namespace
}  // namespace brantel::programs
